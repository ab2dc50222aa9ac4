#include "qmlib/print_format.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "platform/text.h"

namespace qmio::qmlib {
namespace {

// Longer fields would only be a mistake in a format.
constexpr int kLongestField = 200;

int bounded(int count) {
    return count < kLongestField ? count : kLongestField;
}

// The C format of one integer conversion: "%-+ #0" flags as given, width and precision as arguments.
std::array<char, 16> integer_format(const Conversion& conversion) {
    std::array<char, 16> format{};
    std::size_t end = 0;
    const auto append = [&](char letter) { format[end++] = letter; };
    append('%');
    if (conversion.left)
        append('-');
    if (conversion.plus)
        append('+');
    if (conversion.blank)
        append(' ');
    if (conversion.alternate)
        append('#');
    if (conversion.zero)
        append('0');
    for (const char letter : {'*', '.', '*', 'l', 'l'})
        append(letter);
    append(static_cast<char>(conversion.letter));
    return format;
}

// The compiler cannot check a format that is made at run time; the one caller fixes the types of what follows it.
void append_formatted(std::string& out, const char* format, ...) {
    std::array<char, 2 * kLongestField + 80> field{};
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(field.data(), field.size(), format, arguments);
    va_end(arguments);
    if (length > 0)
        out.append(field.data(), static_cast<std::size_t>(length));
}

template <class Integer>
void append_integer(std::string& out, const Conversion& conversion, Integer number) {
    append_formatted(out, integer_format(conversion).data(), bounded(conversion.width), bounded(conversion.precision),
                     number);
}

void append_integer_argument(std::string& out, const Conversion& conversion, uint64_t number) {
    const bool is_signed = conversion.letter == L'd' || conversion.letter == L'i';
    if (is_signed && conversion.is_64_bit)
        append_integer(out, conversion, static_cast<long long>(number));
    else if (is_signed)
        append_integer(out, conversion, static_cast<long long>(static_cast<int32_t>(number)));
    else if (conversion.is_64_bit)
        append_integer(out, conversion, static_cast<unsigned long long>(number));
    else
        append_integer(out, conversion, static_cast<unsigned long long>(static_cast<uint32_t>(number)));
}

bool starts_character(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// Bytes of the first `count` characters of UTF-8 text.
std::size_t bytes_of_characters(std::string_view text, int count) {
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        if (starts_character(text[end]) && count-- == 0)
            break;
    }
    return end;
}

int count_characters(std::string_view text) {
    int count = 0;
    for (const char byte : text)
        count += starts_character(byte) ? 1 : 0;
    return count;
}

void append_text(std::string& out, const Conversion& conversion, std::string_view text) {
    if (conversion.precision >= 0)
        text = text.substr(0, bytes_of_characters(text, conversion.precision));
    const int missing = bounded(conversion.width) - count_characters(text);
    const std::string padding(missing > 0 ? static_cast<std::size_t>(missing) : 0, ' ');
    if (!conversion.left)
        out += padding;
    out += text;
    if (conversion.left)
        out += padding;
}

void append_address(std::string& out, const Conversion& conversion, const void* address) {
    Conversion digits;
    digits.letter = L'X';
    digits.is_64_bit = true;
    digits.precision = 16;
    digits.width = conversion.width;
    digits.left = conversion.left;
    append_integer_argument(out, digits, reinterpret_cast<uintptr_t>(address));
}

void append_text_argument(std::string& out, const Conversion& conversion, const FormatArgument& argument) {
    if (argument.address == nullptr) {
        append_text(out, conversion, "(null)");
    } else if (argument.kind == ArgumentKind::wide_text) {
        const std::wstring_view text(static_cast<const wchar_t*>(argument.address), argument.length);
        append_text(out, conversion, platform::narrow(text, platform::kCodePageUtf8));
    } else {
        append_text(out, conversion, std::string_view(static_cast<const char*>(argument.address), argument.length));
    }
}

void append_character(std::string& out, const Conversion& conversion, uint64_t number) {
    const auto letter = static_cast<wchar_t>(number);
    append_text(out, conversion, platform::narrow(std::wstring_view(&letter, 1), platform::kCodePageUtf8));
}

void append_argument(std::string& out, const Conversion& conversion, const FormatArgument& argument) {
    if (!detail::accepts(conversion, argument.kind))
        return;
    if (conversion.letter == L'p')
        append_address(out, conversion, argument.address);
    else if (conversion.letter == L's' || conversion.letter == L'S')
        append_text_argument(out, conversion, argument);
    else if (conversion.letter == L'c')
        append_character(out, conversion, argument.number);
    else
        append_integer_argument(out, conversion, argument.number);
}

}  // namespace

std::string format_text(std::wstring_view format, std::span<const FormatArgument> arguments) {
    std::string out;
    std::size_t used = 0;
    while (!format.empty()) {
        const std::wstring_view plain = format.substr(0, format.find(L'%'));
        if (!plain.empty())
            out += platform::narrow(plain, platform::kCodePageUtf8);
        format.remove_prefix(plain.size());
        if (format.empty())
            break;
        format.remove_prefix(1);
        const Conversion conversion = read_conversion(format);
        if (conversion.letter == L'%')
            out += '%';
        else if (used < arguments.size())
            append_argument(out, conversion, arguments[used++]);
    }
    return out;
}

}  // namespace qmio::qmlib
