// What a file has, as options for writing another one: what the user did not choose stays as it is.
#pragma once

#include <string>

#include "media_facts.h"
#include "option_list.h"

namespace host {

// Aspect, fields and colours of pictures; the size and the pixel format have to be among the options.
void keep_pictures(OptionList& options, const PictureFacts& facts);

// "tag:title=..." with `prefix` "tag:", and so on, for all of them; one behind the other, each with a comma in front.
std::string tag_options(const Tags& tags, const std::string& prefix);

// Adds what no user's option says, in front of those.
void keep_text(OptionList& options, const std::string& key, const std::string& value);

}  // namespace host
