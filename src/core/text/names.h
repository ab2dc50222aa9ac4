// Names and option texts on their way from a host to the open and create cores.
//
// A request that is empty has said why (core/process/why.h).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/process/settings.h"
#include "core/text/options.h"
#include "qmlib/input_source.h"

namespace qmio {

// Makes a reader of bytes that the host has, from their start; null where it can make no more. The callback interrupts its
// reading.
using SourceMaker = std::function<std::unique_ptr<qmlib::InputSource>(AVIOInterruptCB)>;

// What a host asks to be opened or made.
struct Request {
    std::string name;       // in `code_page`; of a memory block its header's text
    char* block = nullptr;  // the host's memory block; null: the name is a name
    Options options;        // in UTF-8 on every system, as FFmpeg takes them
    uint32_t code_page = settings().code_page;
    SourceMaker bytes = {};  // a container without a name; empty: the name says what it is
};

// From narrow text of the ANSI code page: a name of at most 512 UTF-16 units that comes to at most 1,023 bytes, or the
// address of a memory block, and options of any length. Empty when the name is null or does not fit, and when the
// conversion makes the prefix of a memory block out of it.
std::optional<Request> request(const char* name, const char* options);

// From wide text: a name that comes to at most 1,023 bytes, and options that come to at most 4,095 bytes of the ANSI
// code page. Empty when one does not fit, when the name is null, and for a memory block, which is known by its address
// and so has no wide name.
std::optional<Request> request(const wchar_t* name, const wchar_t* options);

// From UTF-8 text, whatever the code pages: a name of at most 1,023 bytes, or the address of a memory block, and options of
// any length. The name is handed on as it is.
std::optional<Request> request_in_utf8(const char* name, const char* options);

// The same from a narrow name that is in the configured code page already, of at most 1,023 bytes, and options as above.
// Empty for a memory block, too.
std::optional<Request> request_in_code_page(const char* name, const char* options);

// For bytes that the host has, with options as narrow text of the ANSI code page. `name` stands for them in messages.
Request request_of_bytes(const char* name, SourceMaker bytes, const char* options);

// A core name as wide text and as UTF-8, for messages.
std::wstring wide_name(const char* name, uint32_t code_page = settings().code_page);
std::string shown_name(const char* name, uint32_t code_page);
std::string shown_name(const Request& request);

// A core name as FFmpeg takes it on this system.
std::string url_of(const std::string& name, uint32_t code_page);

// Narrow text of FFmpeg's, which may hold core names, in UTF-8.
std::string message_text(const char* text);

// True when `text` begins with `prefix`, which is written in lower case, in any case.
bool has_prefix(const char* text, const char* prefix);

}  // namespace qmio
