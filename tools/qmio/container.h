// The container of a file that is written.
#pragma once

#include <string>

#include "option_list.h"

namespace host {

// The container that the options name.
std::string container_of(const OptionList& options);

// Where they name none, the one that the file's name stands for: by its extension a container's own name, else the first
// one for video that has the extension, else the first at all. Throws a Failure when there is none that can be written.
void add_container(OptionList& options, const std::string& name);

}  // namespace host
