// A host that loads the library by hand and does what its input says, one command a line, one line of answer each:
//   load PATH   unload   open NAME   open_wide UTF8_NAME   open_u8 UTF8_NAME   create NAME
//   create_u8 UTF8_NAME   why   error   demuxers   message TEXT
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
using OpenWide = MediaHandle*(const wchar_t*);
using OpenUtf8 = MediaHandle*(const char*, const char*);
using Create = MediaHandle*(const char*, const char*);
using CreateUtf8 = MediaHandle*(const char*, const char*, uint32_t);
using Close = int(MediaHandle*);
using GetError = int(char*);
using Why = int(char*, int);

constexpr const char* kNewFile = "fmt=wav,acodec=pcm_s16le,afmt=s16,ar=48000,ac=1";

// Without the locale, which path::wstring asks for its letters.
std::wstring wide(const std::string& utf8) {
    const auto path = qmio::test::path_of(utf8);
    if constexpr (sizeof(wchar_t) == sizeof(char32_t)) {
        const std::u32string text = path.u32string();
        return {text.begin(), text.end()};
    } else {
        const std::u16string text = path.u16string();
        return {text.begin(), text.end()};
    }
}

class Host {
  public:
    std::string answer(const std::string& command, const std::string& argument) {
        if (command == "load")
            return load(argument);
        if (command == "unload")
            return unload();
        if (command == "open")
            return open(argument);
        if (command == "open_wide")
            return open_wide(argument);
        if (command == "open_u8")
            return open_u8(argument);
        if (command == "create")
            return create(argument);
        if (command == "create_u8")
            return create_u8(argument);
        if (command == "why")
            return why();
        if (command == "error")
            return error();
        if (command == "demuxers")
            return demuxers();
        if (command == "callback")
            return set_callback();
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

    std::string open(const std::string& name) { return opened(library_->function<Open>("qmio_open_a")(name.c_str())); }

    std::string open_wide(const std::string& name) {
        return opened(library_->function<OpenWide>("qmio_open_w")(wide(name).c_str()));
    }

    std::string create(const std::string& name) {
        return opened(library_->function<Create>("qmio_create_a")(name.c_str(), kNewFile));
    }

    std::string open_u8(const std::string& name) {
        return opened(library_->function<OpenUtf8>("qmio_open_u8")(name.c_str(), nullptr));
    }

    std::string create_u8(const std::string& name) {
        return opened(library_->function<CreateUtf8>("qmio_create_u8")(name.c_str(), kNewFile, 0));
    }

    std::string why() {
        char text[2048] = "";
        library_->function<Why>("qmio_why")(text, sizeof text);
        return text;
    }

    std::string opened(MediaHandle* media) {
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

    static std::string set_callback() {
        av_log_set_callback([](void*, int level, const char*, va_list) {
            if (level <= AV_LOG_ERROR)
                std::cerr << "heard" << std::endl;
        });
        return "set";
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
