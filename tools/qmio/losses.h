// What a new file has not kept of the one that it was made from.
#pragma once

#include <string>
#include <vector>

#include "media_facts.h"
#include "option_list.h"

namespace host {

// A line on standard error: what is worth knowing about a file that was written all the same.
void say(const std::string& file, const std::string& text);

// What was to be kept, against what can be read of the new file; a line for each thing. `options` are all that it was made
// with, `chosen` the user's own: what he chose is no loss.
std::vector<std::string> picture_losses(const PictureFacts& before, const PictureFacts& after,
                                        const OptionList& options, const OptionList& chosen);
std::vector<std::string> tag_losses(const std::string& part, const Tags& before, const Tags& after);

}  // namespace host
