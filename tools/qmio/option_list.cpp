#include "option_list.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace host {

namespace {

std::string key_of(const std::string& option) {
    return option.substr(0, option.find('='));
}

std::string value_of(const std::string& option) {
    const std::size_t equals = option.find('=');
    const std::string value = equals != std::string::npos ? option.substr(equals + 1) : std::string();
    return value.size() > 1 && value.front() == '"' && value.back() == '"' ? value.substr(1, value.size() - 2) : value;
}

// Takes an option string apart as the library does.
class Reader {
  public:
    explicit Reader(const std::string& text) : rest_(text) {}

    // "key=value", the value in its quotes if it has some; empty at the end.
    std::string next() {
        skip(", \t\r\n");
        while (!rest_.empty() && std::string_view("#/;").find(rest_.front()) != std::string_view::npos) {
            take_to("\r\n");
            skip(", \t\r\n");
        }
        if (rest_.empty())
            return {};
        const std::string key(take_to("=\t\n ,"));
        skip(" \t=");
        const bool quoted = !rest_.empty() && rest_.front() == '"';
        return key + '=' + std::string(quoted ? take_quoted() : take_to("\t\n ,"));
    }

  private:
    void skip(const char* letters) { rest_.remove_prefix(std::min(rest_.find_first_not_of(letters), rest_.size())); }

    std::string_view take(std::size_t count) {
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(taken.size());
        return taken;
    }
    std::string_view take_to(const char* ends) { return take(std::min(rest_.find_first_of(ends), rest_.size())); }
    std::string_view take_quoted() {
        const std::size_t end = rest_.find('"', 1);
        return take(end != std::string_view::npos ? end + 1 : rest_.size());
    }

    std::string_view rest_;
};

// Options of sound that are the track's, which was begun last.
bool is_form_of_track(const std::string& option) {
    constexpr std::string_view keys[] = {"ac", "channels", "ar", "sample_rate", "afmt", "sample_fmt"};
    return std::find(std::begin(keys), std::end(keys), key_of(option)) != std::end(keys);
}

bool is_audio_encoder(const std::string& option) {
    const std::string key = key_of(option);
    return key == "acodec" || key == "codec:a" || key == "c:a";
}

}  // namespace

OptionList::OptionList(const std::string& text) {
    Reader reader(text);
    for (std::string option = reader.next(); !option.empty(); option = reader.next())
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

int OptionList::track_count() const {
    return static_cast<int>(std::count_if(options_.begin(), options_.end(), is_audio_encoder));
}

void OptionList::set_track_count(int count) {
    const auto first = std::find_if(options_.begin(), options_.end(), is_audio_encoder);
    std::vector<std::string> track;
    std::vector<std::string> rest;
    for (auto option = options_.begin(); option != options_.end(); ++option) {
        const bool is_of_track = option == first || (option > first && is_form_of_track(*option));
        if (is_of_track)
            track.push_back(*option);
        else if (!is_audio_encoder(*option))
            rest.push_back(*option);
    }
    options_ = std::move(rest);
    for (int number = 0; number < count; ++number)
        options_.insert(options_.end(), track.begin(), track.end());
}

std::string OptionList::text() const {
    std::string text;
    for (const std::string& option : options_)
        text += (text.empty() ? "" : ",") + option;
    return text;
}

}  // namespace host
