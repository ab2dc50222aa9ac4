#include "wrapped.h"

#include <algorithm>
#include <sstream>

namespace host {

namespace {

constexpr std::size_t kColumn = 8;  // a line that begins here or behind is a column of text by itself

// Where the last column of a line begins: behind two blanks or more, else where the line itself does.
std::size_t hanging_indent(const std::string& line, std::size_t columns) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t gap = line.find("  ", begin);
    const std::size_t text = gap == line.npos ? line.npos : line.find_first_not_of(' ', gap);
    const std::size_t below = begin == 0 || begin >= kColumn ? begin : begin + 4;
    const std::size_t place = text == line.npos ? below : text;
    return place < columns / 2 ? place : std::min(begin + 4, columns / 2);
}

std::string wrapped_line(std::string line, std::size_t columns) {
    const std::string indent(hanging_indent(line, columns), ' ');
    std::string text;
    while (line.size() > columns) {
        const std::size_t begin = line.find_first_not_of(' ');
        std::size_t cut = line.rfind(' ', columns);
        if (cut == line.npos || cut <= begin)
            cut = line.find(' ', begin);
        if (cut == line.npos)
            break;
        const std::size_t end = line.find_last_not_of(' ', cut);
        const std::size_t rest = line.find_first_not_of(' ', cut);
        text += line.substr(0, end + 1) + '\n';
        line = rest == line.npos ? indent : std::string(indent).append(line, rest);
    }
    return text + line;
}

}  // namespace

std::string wrapped(const std::string& text, int columns) {
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);)
        result += wrapped_line(line, static_cast<std::size_t>(std::max(columns - 1, 1))) + '\n';
    return result;
}

}  // namespace host
