// An option string of the library with what the user left out filled in.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace host {

class OptionList {
  public:
    // By the library's own rules.
    explicit OptionList(const std::string& text);

    // The value that counts: the last one that any of these keys has; empty when there is none.
    std::string value(const std::vector<std::string>& keys) const;
    bool has(const std::vector<std::string>& keys) const { return !value(keys).empty(); }

    // An option before all others, which yield to none of it.
    void add_default(const std::string& option);

    // Options behind every audio encoder, so that those the user gives for the track win. `make` is told the number
    // of the track and its encoder.
    void add_track_defaults(const std::function<std::string(int track, const std::string& encoder)>& make);

    // How many tracks the options begin.
    int track_count() const;

    // Lets the options begin so many tracks, all of them like the first; with 0 none.
    void set_track_count(int count);

    std::string text() const;

  private:
    std::vector<std::string> options_;
};

}  // namespace host
