// qmio formats, codecs, pixfmts: what the library can write and decode.
#include <CLI/CLI.hpp>
#include <iomanip>
#include <iostream>
#include <memory>

#include "verbs.h"

#include <qmio.h>

namespace host {

namespace {

void print_row(const std::string& name, int width, const std::string& text) {
    std::cout << "  " << std::left << std::setw(width) << name << ' ' << text << '\n';
}

void formats() {
    for (const AVOutputFormat* format = qmio_first_format(); format != nullptr; format = qmio_next_format(format)) {
        char text[1024];
        const std::string kinds = std::string(qmio_is_format(format, "video") != 0 ? "V" : ".") +
                                  (qmio_is_format(format, "audio") != 0 ? "A " : ". ");
        const std::string name = qmio_get_format_info(format, nullptr, "name");
        print_row(kinds + name, 24, qmio_get_format_info(format, text, nullptr));
    }
}

std::string kinds_of(const AVCodec* codec) {
    std::string kinds;
    for (const char* kind : {"video", "audio", "subtitle", "data", "encoder", "decoder"})
        if (qmio_is_codec(codec, kind) != 0)
            kinds += (kinds.empty() ? "" : " ") + std::string(kind);
    return kinds;
}

struct CodecOptions {
    bool encoders = false;
    bool decoders = false;
};

void codecs(const CodecOptions& options) {
    const bool both = options.encoders == options.decoders;
    for (const AVCodec* codec = qmio_first_codec(); codec != nullptr; codec = qmio_next_codec(codec)) {
        const bool wanted = both || (options.encoders && qmio_is_codec(codec, "encoder") != 0) ||
                            (options.decoders && qmio_is_codec(codec, "decoder") != 0);
        if (wanted)
            print_row(static_cast<const char*>(qmio_get_codec_info(codec, nullptr, "name")), 24, kinds_of(codec));
    }
}

// Where the numbers of the interface end; those of formats that only this FFmpeg knows are not listed.
constexpr int kEndOfFormats = 400;

void pixel_formats() {
    for (int number = 0; number < kEndOfFormats; ++number) {
        const char* name = qmio_get_pix_info(number, "name");
        if (name != nullptr)
            print_row(std::to_string(number), 5, std::string(name) + ": " + qmio_get_pix_info(number, "descr"));
    }
}

}  // namespace

void add_formats(CLI::App& app) {
    app.add_subcommand("formats", "List the containers that can be written (V: video, A: audio by default)")
        ->callback(formats);
}

void add_codecs(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("codecs", "List the codecs");
    auto options = std::make_shared<CodecOptions>();
    verb->add_flag("--encoders", options->encoders, "Encoders alone");
    verb->add_flag("--decoders", options->decoders, "Decoders alone");
    verb->callback([options] { codecs(*options); });
}

void add_pixel_formats(CLI::App& app) {
    app.add_subcommand("pixfmts", "List the pixel formats by number")->callback(pixel_formats);
}

}  // namespace host
