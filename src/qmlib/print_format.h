// Wide print formats in Microsoft's sense, checked against their arguments while compiling.
//
// A conversion is "%", then flags out of "-+ #0", a width, a precision, and one of
//   %d %i %u %x %X %o   an integer, enumeration or bool of up to 32 bits
//   %I64d (i u x X o)   a 64-bit integer
//   %c                  a character number
//   %s                  wide text      %S   narrow text (UTF-8)
//   %p                  an address, as 16 upper-case hexadecimal digits
// and "%%". Width and precision of texts count characters. Text that is a null pointer prints "(null)".
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

namespace qmio::qmlib {

enum class ArgumentKind : uint8_t { integer32, integer64, wide_text, narrow_text, address };

// One argument, as the formatter sees it. Texts are borrowed.
struct FormatArgument {
    ArgumentKind kind;
    uint64_t number = 0;            // of an integer; 32-bit ones are sign- or zero-extended from their own type
    const void* address = nullptr;  // of an address, or where a text begins
    std::size_t length = 0;         // of a text, in its own units

    template <class T>
    static FormatArgument of(const T& value);
};

template <class T>
constexpr ArgumentKind argument_kind() {
    using Value = std::decay_t<T>;
    if constexpr (std::is_convertible_v<const Value&, std::wstring_view>) {
        return ArgumentKind::wide_text;
    } else if constexpr (std::is_convertible_v<const Value&, std::string_view>) {
        return ArgumentKind::narrow_text;
    } else if constexpr (std::is_pointer_v<Value> || std::is_null_pointer_v<Value>) {
        return ArgumentKind::address;
    } else {
        static_assert(std::is_integral_v<Value> || std::is_enum_v<Value>, "no conversion prints this type");
        return sizeof(Value) > 4 ? ArgumentKind::integer64 : ArgumentKind::integer32;
    }
}

// Signed values keep their sign, those of one byte, too.
template <class T>
constexpr uint64_t extended(T value) {
    return static_cast<uint64_t>(value);
}

template <class T>
FormatArgument FormatArgument::of(const T& value) {
    using Value = std::decay_t<T>;
    FormatArgument argument{argument_kind<T>()};
    if constexpr (std::is_array_v<T> || std::is_pointer_v<Value>) {
        const auto* const pointer = value;
        argument.address = static_cast<const void*>(pointer);
        if constexpr (argument_kind<T>() == ArgumentKind::wide_text)
            argument.length = pointer != nullptr ? std::wcslen(pointer) : 0;
        else if constexpr (argument_kind<T>() == ArgumentKind::narrow_text)
            argument.length = pointer != nullptr ? std::strlen(pointer) : 0;
    } else if constexpr (std::is_null_pointer_v<Value>) {
        // An address of null, as it stands.
    } else if constexpr (argument_kind<T>() == ArgumentKind::wide_text) {
        const std::wstring_view text = value;
        argument.address = text.empty() ? L"" : text.data();
        argument.length = text.size();
    } else if constexpr (argument_kind<T>() == ArgumentKind::narrow_text) {
        const std::string_view text = value;
        argument.address = text.empty() ? "" : text.data();
        argument.length = text.size();
    } else {
        argument.number = extended(value);
    }
    return argument;
}

// One parsed conversion.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool blank = false;
    bool alternate = false;
    bool zero = false;
    int width = 0;
    int precision = -1;  // -1: none given
    bool is_64_bit = false;
    wchar_t letter = 0;  // 0: the format is wrong here
};

namespace detail {

constexpr int read_count(std::wstring_view& rest) {
    int count = 0;
    while (!rest.empty() && rest.front() >= L'0' && rest.front() <= L'9') {
        count = count < 1000 ? count * 10 + (rest.front() - L'0') : count;
        rest.remove_prefix(1);
    }
    return count;
}

constexpr bool read_flag(wchar_t letter, Conversion& conversion) {
    switch (letter) {
        case L'-':
            return conversion.left = true;
        case L'+':
            return conversion.plus = true;
        case L' ':
            return conversion.blank = true;
        case L'#':
            return conversion.alternate = true;
        case L'0':
            return conversion.zero = true;
        default:
            return false;
    }
}

constexpr bool is_integer_letter(wchar_t letter) {
    return std::wstring_view(L"diuxXo").find(letter) != std::wstring_view::npos;
}

constexpr bool accepts(const Conversion& conversion, ArgumentKind kind) {
    if (is_integer_letter(conversion.letter))
        return kind == (conversion.is_64_bit ? ArgumentKind::integer64 : ArgumentKind::integer32);
    if (conversion.is_64_bit)
        return false;
    switch (conversion.letter) {
        case L'c':
            return kind == ArgumentKind::integer32;
        case L's':
            return kind == ArgumentKind::wide_text;
        case L'S':
            return kind == ArgumentKind::narrow_text;
        case L'p':
            return kind != ArgumentKind::integer32 && kind != ArgumentKind::integer64;
        default:
            return false;
    }
}

}  // namespace detail

// Reads one conversion behind its "%" and takes it off `rest`. The letter '%' stands for "%%".
constexpr Conversion read_conversion(std::wstring_view& rest) {
    Conversion conversion;
    while (!rest.empty() && detail::read_flag(rest.front(), conversion))
        rest.remove_prefix(1);
    conversion.width = detail::read_count(rest);
    if (!rest.empty() && rest.front() == L'.') {
        rest.remove_prefix(1);
        conversion.precision = detail::read_count(rest);
    }
    if (rest.starts_with(L"I64")) {
        conversion.is_64_bit = true;
        rest.remove_prefix(3);
    }
    if (!rest.empty()) {
        conversion.letter = rest.front();
        rest.remove_prefix(1);
    }
    return conversion;
}

// True when every conversion of `format` fits its argument, none is left over and none is missing.
constexpr bool format_fits(std::wstring_view format, std::span<const ArgumentKind> kinds) {
    std::size_t used = 0;
    while (!format.empty()) {
        const wchar_t letter = format.front();
        format.remove_prefix(1);
        if (letter != L'%')
            continue;
        const Conversion conversion = read_conversion(format);
        if (conversion.letter == L'%')
            continue;
        if (used == kinds.size() || !detail::accepts(conversion, kinds[used]))
            return false;
        ++used;
    }
    return used == kinds.size();
}

// A format literal for arguments of these types. A literal that does not fit them does not compile: the call of
// `format_and_arguments_disagree`, which is no constant expression, is what the compiler's message then names.
template <class... Arguments>
class Format {
  public:
    template <class Text>
    requires std::is_convertible_v<const Text&, std::wstring_view>
    consteval Format(const Text& text) : text_(text) {  // NOLINT(google-explicit-constructor): literals become formats
        constexpr std::size_t count = sizeof...(Arguments);
        const ArgumentKind kinds[count + 1] = {argument_kind<std::remove_cvref_t<Arguments>>()...,
                                               ArgumentKind::address};
        if (!format_fits(text_, std::span(kinds, count)))
            format_and_arguments_disagree();
    }

    std::wstring_view text() const { return text_; }

  private:
    static void format_and_arguments_disagree() {}

    std::wstring_view text_;
};

// `format` filled in, as UTF-8. The formats that reach it were checked; one that was not prints what fits and drops
// what does not.
std::string format_text(std::wstring_view format, std::span<const FormatArgument> arguments);

}  // namespace qmio::qmlib
