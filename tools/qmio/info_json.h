// What is known of a file as JSON, described in docs/info-json.md.
#pragma once

#include <iosfwd>

#include "source.h"

namespace host {

void print_json(const Source& source, std::ostream& out);

}  // namespace host
