// What qmio_why tells.
#pragma once

#include <qmio.h>

#include <ostream>
#include <string>

namespace qmio::test {

struct Why {
    int code = 0;
    std::string text;

    bool holds(const std::string& part) const { return text.find(part) != text.npos; }
};

inline std::ostream& operator<<(std::ostream& out, const Why& why) {
    return out << why.code << " [" << why.text << "]";
}

inline Why why() {
    char text[4096];
    const int code = qmio_why(text, sizeof text);
    return {code, text};
}

}  // namespace qmio::test
