// Trace lines: "tag: " and then the message, each in one write to the console and one to the log.
// Formats are wide texts in which "%s" takes a wide string and "%S" a narrow one (qmlib/print_format.h lists the
// conversions); a format that disagrees with its arguments does not compile. Nothing is formatted while the switch is
// off. Nothing here throws. Any thread may call.
#pragma once

#include <span>
#include <string_view>
#include <type_traits>

#include "core/process/settings.h"
#include "qmlib/print_format.h"

namespace qmio {

// The literal that fits these arguments, without taking part in deducing them.
template <class... Arguments>
using TraceFormat = std::type_identity_t<qmlib::Format<Arguments...>>;

namespace detail {

using Arguments = std::span<const qmlib::FormatArgument>;

void write_line(const wchar_t* tag, std::wstring_view format, Arguments arguments) noexcept;
void write_console(std::wstring_view format, Arguments arguments) noexcept;

// Calls `write` with the arguments as the formatter takes them.
template <class Write, class... Values>
void with_arguments(Write&& write, const Values&... values) {
    if constexpr (sizeof...(Values) == 0) {
        write(Arguments());
    } else {
        const qmlib::FormatArgument list[] = {qmlib::FormatArgument::of(values)...};
        write(Arguments(list));
    }
}

}  // namespace detail

// True when the lines of this category are written.
inline bool tracing(TraceSwitch category) {
    return settings().trace[static_cast<std::size_t>(category)] != 0;
}

// Writes a line whatever the switches say.
template <class... Values>
void report(const wchar_t* tag, TraceFormat<Values...> format, const Values&... values) noexcept {
    detail::with_arguments([&](detail::Arguments list) { detail::write_line(tag, format.text(), list); }, values...);
}

// Writes a line while the category's switch is on.
template <class... Values>
void trace(TraceSwitch category, const wchar_t* tag, TraceFormat<Values...> format, const Values&... values) noexcept {
    if (tracing(category))
        detail::with_arguments([&](detail::Arguments list) { detail::write_line(tag, format.text(), list); },
                               values...);
}

// Writes to the console alone, without a tag.
template <class... Values>
void print_to_console(TraceFormat<Values...> format, const Values&... values) noexcept {
    detail::with_arguments([&](detail::Arguments list) { detail::write_console(format.text(), list); }, values...);
}

}  // namespace qmio
