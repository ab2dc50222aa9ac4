// Pictures as PNG files.
#pragma once

#include <string>

#include "picture.h"
#include "target.h"

namespace host {

// Throws a Failure that names the file.
void write_png(const Target& target, Picture& picture);

}  // namespace host
