// Pictures as PNG files.
#pragma once

#include <string>

#include "picture.h"

namespace host {

// Writes `picture` to the file `name` (UTF-8), replacing what is there. Throws a Failure that names the file.
void write_png(const std::string& name, Picture& picture);

}  // namespace host
