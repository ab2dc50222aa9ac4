// A host that loads the library by hand and does what its input says, one command a line, one line of answer each:
//   load PATH   unload   open NAME   error   demuxers   message TEXT
// It uses libavformat itself, as a host may, and so sees what the library leaves behind there.
#include <iostream>
#include <optional>
#include <string>

#include "support/dynamic_library.h"
#include "support/temp_dir.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace {

struct MediaHandle;
using Open = MediaHandle*(const char*);
using Close = int(MediaHandle*);
using GetError = int(char*);

class Host {
  public:
    std::string answer(const std::string& command, const std::string& argument) {
        if (command == "load")
            return load(argument);
        if (command == "unload")
            return unload();
        if (command == "open")
            return open(argument);
        if (command == "error")
            return error();
        if (command == "demuxers")
            return demuxers();
        if (command == "message")
            return message(argument);
        return "unknown command";
    }

  private:
    std::string load(const std::string& path) {
        library_.emplace(qmio::test::path_of(path));
        return library_->loaded() ? "loaded" : library_->error();
    }

    std::string unload() {
        library_.reset();
        return "unloaded";
    }

    std::string open(const std::string& name) {
        MediaHandle* media = library_->function<Open>("qmio_open_a")(name.c_str());
        if (media == nullptr)
            return "null";
        library_->function<Close>("qmio_close")(media);
        return "opened";
    }

    std::string error() {
        char text[512] = "";
        const int pending = library_->function<GetError>("qmio_get_error")(text);
        return std::to_string(pending) + " " + text;
    }

    static std::string demuxers() {
        void* position = nullptr;
        bool named = true;
        while (const AVInputFormat* demuxer = av_demuxer_iterate(&position))
            named = named && demuxer->name != nullptr;
        return named ? "all named" : "nameless";
    }

    static std::string message(const std::string& text) {
        av_log(nullptr, AV_LOG_ERROR, "%s\n", text.c_str());
        return "level " + std::to_string(av_log_get_level());
    }

    std::optional<qmio::test::DynamicLibrary> library_;
};

}  // namespace

int main() {
    Host host;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        const std::size_t blank = line.find(' ');
        const std::string argument = blank == line.npos ? "" : line.substr(blank + 1);
        std::cout << host.answer(line.substr(0, blank), argument) << std::endl;
    }
}
