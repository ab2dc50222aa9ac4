// Text that fits into a terminal.
#pragma once

#include <string>

namespace host {

// `text` with no line longer than `columns`, as far as its words allow: what is left of a line goes on below the column at
// which its last column of text begins.
std::string wrapped(const std::string& text, int columns);

}  // namespace host
