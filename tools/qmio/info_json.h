// Everything that the library tells of a file by key, as JSON.
#pragma once

#include <iosfwd>

#include "source.h"

namespace host {

void print_json(const Source& source, std::ostream& out);

}  // namespace host
