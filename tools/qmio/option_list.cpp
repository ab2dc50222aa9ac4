#include "option_list.h"

#include <algorithm>

namespace host {

namespace {

std::string key_of(const std::string& option) {
    return option.substr(0, option.find('='));
}

std::string value_of(const std::string& option) {
    const std::size_t equals = option.find('=');
    return equals != std::string::npos ? option.substr(equals + 1) : std::string();
}

bool is_audio_encoder(const std::string& option) {
    const std::string key = key_of(option);
    return key == "acodec" || key == "codec:a" || key == "c:a";
}

}  // namespace

OptionList::OptionList(const std::string& text) {
    bool quoted = false;
    std::string option;
    for (const char letter : text + ',') {
        if (letter == '"')
            quoted = !quoted;
        if ((letter != ',' && letter != '\n') || quoted) {
            option += letter;
            continue;
        }
        if (!option.empty())
            options_.push_back(option);
        option.clear();
    }
    if (!option.empty())
        options_.push_back(option);
}

std::string OptionList::value(const std::vector<std::string>& keys) const {
    std::string found;
    for (const std::string& option : options_)
        if (std::find(keys.begin(), keys.end(), key_of(option)) != keys.end())
            found = value_of(option);
    return found;
}

void OptionList::add_default(const std::string& option) {
    options_.insert(options_.begin(), option);
}

void OptionList::add_track_defaults(const std::function<std::string(int track, const std::string& encoder)>& make) {
    std::vector<std::string> filled;
    int track = 0;
    for (const std::string& option : options_) {
        filled.push_back(option);
        if (is_audio_encoder(option))
            filled.push_back(make(track++, value_of(option)));
    }
    options_ = std::move(filled);
}

std::string OptionList::text() const {
    std::string text;
    for (const std::string& option : options_)
        text += (text.empty() ? "" : ",") + option;
    return text;
}

}  // namespace host
