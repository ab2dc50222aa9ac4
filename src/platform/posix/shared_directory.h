// The files behind named objects: one private directory per user in shared memory.
#pragma once

#include <string>
#include <string_view>

#include "platform/posix/descriptor.h"

namespace qmio::platform {

enum class IfMissing { kCreate, kFail };

// What the files stand for.
inline constexpr std::string_view kMutexKind = "mutex";
inline constexpr std::string_view kMappingKind = "mapping";

// The bytes of a file whose locks (byte_lock.h) tell who uses it.
inline constexpr int kUserByte = 0;  // held shared by every process that uses the file
inline constexpr int kGateByte = 1;  // held exclusively by whoever comes to a mapping or leaves it

// The directory; empty when it cannot be trusted or had.
Descriptor open_shared_directory();

// The file name that stands for the object `name` of this kind; any length and any bytes will do.
std::string shared_file_name(std::string_view kind, std::string_view name);

// Opened for reading and writing. Empty when the directory cannot be trusted or had, or the file is missing or refused.
Descriptor open_shared_file(const std::string& file_name, IfMissing if_missing);

// Whether `file_name` of the open directory stands for the open file.
bool names_file(int directory, const char* file_name, int descriptor);

// Whether `file_name` still stands for the open file: its last user may have removed it since it was opened.
bool is_still_named(int descriptor, const std::string& file_name);

// Removes the name if it still stands for the open file. The caller holds the lock that makes this safe.
void remove_name(int descriptor, const std::string& file_name);

}  // namespace qmio::platform
