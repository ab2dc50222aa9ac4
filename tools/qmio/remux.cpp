// qmio remux IN OUT: the packets of a file in another container, nothing decoded or encoded.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <system_error>

#include "failure.h"
#include "output.h"
#include "output_options.h"
#include "progress.h"
#include "source.h"
#include "text.h"
#include "verbs.h"

namespace host {

namespace {

// Pictures that a container stores out of order without telling when they are shown get it told.
constexpr const char* kReading = "fflags=+genpts";

struct RemuxOptions {
    std::string in;
    std::string out;
    std::string options;
};

std::string extension_of(const std::string& name) {
    std::string extension = utf8_of(path_of(name.substr(0, name.find('|'))).extension());
    return extension.empty() ? extension : extension.substr(1);
}

bool has_pattern(const AVOutputFormat* format, const std::string& extension) {
    char text[1024] = {};
    const std::string description = qmio_get_format_info(format, text, nullptr);
    return description.find("*." + extension + ";") != std::string::npos ||
           description.find("*." + extension + ")") != std::string::npos;
}

// The container that a file's name stands for: by its own name, else the first for video that has the extension.
std::string container_of(const std::string& name) {
    std::string extension = extension_of(name);
    if (extension.empty() || qmio_get_id(extension.c_str(), "ofmt") != 0)
        return extension;
    for (const AVOutputFormat* format = qmio_first_format(); format != nullptr; format = qmio_next_format(format))
        if (qmio_is_format(format, "video") != 0 && has_pattern(format, extension))
            return qmio_get_format_info(format, nullptr, "name");
    return "";
}

OptionList fill_in(const RemuxOptions& options) {
    OptionList filled(options.options);
    const std::string container = container_of(options.out);
    if (!filled.has({"fmt", "f"}) && !container.empty())
        filled.add_default("fmt=" + container);
    require_container(filled);
    return filled;
}

MediaHandle* copy_of(const Source& source, const char* name, const char* options) {
    return qmio_mux_u8(name, options, source.handle(), source.handle());
}

// How far a file has been read.
class Bytes {
  public:
    explicit Bytes(const Source& source)
        : source_(source), size_(size_of(source.name())), progress_("remux", size_, Unit::bytes) {}

    void show() { progress_.reach(std::max<int64_t>(source_.track_param("frame_pos", 0), 0)); }
    // What lies behind the last packet is no work.
    void end() { progress_.reach(size_); }

  private:
    static int64_t size_of(const std::string& name) {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(path_of(name), error);
        return error ? 0 : static_cast<int64_t>(size);
    }

    const Source& source_;
    int64_t size_;
    Progress progress_;
};

void copy_packets(const Source& source, Output& output) {
    Bytes bytes(source);
    while (qmio_get_frame(source.handle()) >= 0) {
        if (qmio_copy_frame(output.handle(), source.handle()) < 0)
            throw failure_of_library(output.name(), "cannot be written");
        qmio_release_frame(source.handle());
        bytes.show();
    }
    bytes.end();
}

void remux(const RemuxOptions& options) {
    require_other_file(options.in, options.out);
    const OptionList filled = fill_in(options);
    const Source source(options.in, kReading);
    source.require_pictures();
    Output output(options.out, filled.text(),
                  [&](const char* name, const char* text) { return copy_of(source, name, text); });
    copy_packets(source, output);
    output.close();
    output.require_readable();
}

}  // namespace

void add_remux(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("remux", "Copy the video and the first sound of a file into another container");
    auto options = std::make_shared<RemuxOptions>();
    verb->add_option("IN", options->in, "The file to read")->required();
    verb->add_option("OUT", options->out, "The file to write")->required();
    verb->add_option(
        "--options", options->options,
        "The container and what it is told, for instance fmt=mp4,movflags=faststart; without fmt the name of "
        "OUT tells it. avoid_negative_ts=make_zero lets the copy begin at time 0");
    verb->callback([options] { remux(*options); });
}

}  // namespace host
