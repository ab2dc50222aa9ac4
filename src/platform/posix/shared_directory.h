// The files behind named objects: one private directory per user in shared memory.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/descriptor.h"

namespace qmio::platform {

enum class IfMissing { kCreate, kFail };

// The file name that stands for the object `name` of this kind ("mutex", "mapping"); any length and any bytes will do.
std::string shared_file_name(std::string_view kind, std::string_view name);

// Opened for reading and writing. Empty when the directory cannot be trusted or had, or the file is missing or refused.
Descriptor open_shared_file(const std::string& file_name, IfMissing if_missing);

// Whether `file_name` still stands for the open file: its last user may have removed it since it was opened.
bool is_still_named(int descriptor, const std::string& file_name);

// Removes the name if it still stands for the open file. The caller holds the lock that makes this safe.
void remove_name(int descriptor, const std::string& file_name);

}  // namespace qmio::platform
