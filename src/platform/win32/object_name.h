// Names of kernel objects.
#pragma once

#include <string>

namespace qmio::platform {

// The wide name under which CreateMutexA, CreateFileMappingA and OpenFileMappingA know `name`. Going through the wide
// calls lifts their limit of 260 characters, which the name of a file in a deep folder exceeds.
std::wstring object_name(const std::string& name);

}  // namespace qmio::platform
