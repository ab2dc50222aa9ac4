#include "help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>

#include "platform/console.h"
#include "wrapped.h"

namespace host {

namespace {

struct Example {
    const char* verb;  // empty: of the program
    const char* command;
    const char* meaning;
};

constexpr Example kExamples[] = {
    {"", "qmio info film.mp4", "what is in a file"},
    {"", "qmio sheet film.mp4 --out sheet.png", "a contact sheet of it"},
    {"", "qmio frames film.mp4 --at 0,100,17 --out stills", "exactly these frames, as PNG files"},
    {"", "qmio convert film.mov film.mp4 \"vcodec=libx264,acodec=aac\"", "written anew"},
    {"info", "qmio info film.mp4", "for reading"},
    {"info", "qmio info film.mkv --json --options count=1", "for programs, with every frame counted"},
    {"frames", "qmio frames film.mp4 --at 1234", "frame 1234 as ./frame-001234.png"},
    {"frames", "qmio frames phone.mov --at 0,250 --out stills --options rotate=1", "upright"},
    {"sheet", "qmio sheet film.mp4 --out sheet.png", "16 frames, four a row"},
    {"sheet", "qmio sheet film.mp4 --out sheet.png --count 30 --columns 6", "more of them"},
    {"audio", "qmio audio film.mp4 --out sound.wav", "track 0 in stereo at 48 kHz"},
    {"audio", "qmio audio film.mp4 --track 1 --format s24 --start 1:05 --end 1:10.5 --out part.wav",
     "a part of track 1"},
    {"wave", "qmio wave film.mp4 --out wave.png", "peak and power of every channel"},
    {"convert", "qmio convert film.mov film.mp4 \"vcodec=libx264,b:v=2M,acodec=aac\"", "pictures and sound anew"},
    {"convert", "qmio convert film.mov sound.flac \"acodec=flac\" --track 0", "the sound of one track"},
    {"remux", "qmio remux film.mkv film.mp4", "another container, the same packets"},
    {"remux", "qmio remux film.mov film.mp4 --options movflags=faststart", "ready for the web"},
    {"make", "qmio make test.mp4 \"vcodec=libx264,acodec=aac\" --frames 250", "ten seconds for testing"},
    {"play", "qmio play film.mp4 --in 100 --out 200", "how fast a range can be read"},
    {"play", "qmio play film.mp4 --in 100 --loop-in 120 --loop-out 150 --loops 5 --dump", "a loop, packet by packet"},
    {"timecode", "qmio timecode film.mxf --at 1500", "such as 10:01:00:00"},
    {"formats", "qmio formats", "what \"fmt\" may be"},
    {"codecs", "qmio codecs --encoders", "what \"vcodec\" and \"acodec\" may be"},
    {"pixfmts", "qmio pixfmts", "what \"pix\" may be"},
};

std::string examples_of(const std::string& verb) {
    std::string text;
    for (const Example& example : kExamples)
        if (verb == example.verb)
            text += std::string("  ") + example.command + "\n      " + example.meaning + '\n';
    return text.empty() ? "" : "Examples:\n" + text;
}

// Of the terminal; where there is none, what most are read in.
int columns() {
    constexpr int usual = 100, least = 40;
    const int width = qmio::platform::error_output_width();
    return width > 0 ? std::max(width, least) : usual;
}

class FittingFormatter : public CLI::Formatter {
  public:
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
        return wrapped(CLI::Formatter::make_help(app, std::move(name), mode), columns());
    }
};

void print_manual(const CLI::App& app, const std::string& form) {
    std::cout << (form == "man" ? man_page(app) : bash_completion(app));
}

void add_manual(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("manual", "Print the man page or the completion for bash");
    verb->group("");
    auto form = std::make_shared<std::string>();
    verb->add_option("FORM", *form)->required()->check(CLI::IsMember({"man", "bash"}));
    verb->callback([&app, form] { print_manual(app, *form); });
}

}  // namespace

void add_help(CLI::App& app) {
    constexpr int narrow = 64, usual_column = 30, narrow_column = 8;
    const auto formatter = std::make_shared<FittingFormatter>();
    formatter->column_width(columns() < narrow ? narrow_column : usual_column);
    app.formatter(formatter);
    app.footer(examples_of("") + "\n\"qmio VERB --help\" tells the rest.");
    for (CLI::App* verb : app.get_subcommands([](CLI::App*) { return true; })) {
        verb->formatter(formatter);
        verb->footer(examples_of(verb->get_name()));
    }
    add_manual(app);
}

}  // namespace host
