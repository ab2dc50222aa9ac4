// Names and option strings on their way from a host to the open and create cores.
#pragma once

#include <optional>
#include <string>

namespace qmio {

// A name as the cores take it, in the configured code page. Empty when it does not fit its buffer or is null.
std::optional<std::string> core_name(const char* ansi);
std::optional<std::string> core_name(const wchar_t* wide);

// An option string in the ANSI code page; empty when it is longer than `limit` bytes or null.
std::optional<std::string> ansi_options(const wchar_t* wide, std::size_t limit);

// An option string of the ANSI code page as FFmpeg takes it: UTF-8, on every system. Empty for null.
std::optional<std::string> utf8_options(const char* ansi);

// A core name as wide text, for messages.
std::wstring wide_name(const char* name);

// A core name as FFmpeg takes it: UTF-8, on every system.
std::string url_of(const std::string& name);

// True when `text` begins with `prefix`, which is written in lower case, in any case.
bool has_prefix(const char* text, const char* prefix);

}  // namespace qmio
