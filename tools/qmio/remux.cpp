// qmio remux IN OUT: the packets of a file in another container, nothing decoded or encoded.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <system_error>

#include "container.h"
#include "failure.h"
#include "output.h"
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
    Target out;
    std::string options;
};

OptionList fill_in(const RemuxOptions& options) {
    OptionList filled(options.options);
    add_container(filled, options.out.name);
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
            throw output.failure("cannot be written");
        qmio_release_frame(source.handle());
        bytes.show();
    }
    bytes.end();
}

void remux(const RemuxOptions& options) {
    require_free(options.out, options.in);
    const OptionList filled = fill_in(options);
    const Source source(options.in, kReading);
    source.require_pictures();
    Output output(options.out, filled.text(),
                  [&](const char* name, const char* text) { return copy_of(source, name, text); });
    copy_packets(source, output);
    output.finish();
    output.require_readable();
    output.keep();
}

}  // namespace

void add_remux(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("remux", "Copy the video and the first sound of a file into another container");
    auto options = std::make_shared<RemuxOptions>();
    verb->add_option("IN", options->in, "The file to read")->required();
    verb->add_option("OUT", options->out.name, kTargetHelp)->required();
    add_force(*verb, options->out);
    verb->add_option(
        "--options", options->options,
        "The container and what it is told, for instance fmt=mp4,movflags=faststart; without fmt the name of "
        "OUT tells it. avoid_negative_ts=make_zero lets the copy begin at time 0");
    verb->callback([options] { remux(*options); });
}

}  // namespace host
