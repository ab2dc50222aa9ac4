// qmio info FILE: what the library knows of a file.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>

#include "info_json.h"
#include "numbers.h"
#include "source.h"
#include "verbs.h"

namespace host {

namespace {

// Tags hold what they like; what would move the cursor is a blank.
void print_row(const std::string& label, std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char letter) { return letter < 0x20 || letter == 0x7F; }, ' ');
    std::cout << "  " << std::left << std::setw(16) << label << ' ' << text << '\n';
}

void print_known(const std::string& label, const std::optional<std::string>& text) {
    if (text && !text->empty())
        print_row(label, *text);
}

// "h264 (High)"
std::string codec_text(const Source& source, int part) {
    std::string text = source.text(part, "codec").value_or("unknown codec");
    if (const auto profile = source.text(part, "profile"); profile)
        text += " (" + *profile + ")";
    return text;
}

std::string duration_text(const Source& source, int part) {
    const int64_t duration = source.track_param("duration_us", part);
    return duration != INT64_MIN ? time_text(duration) : "not told";
}

// ---- the container ----

void print_container(const Source& source) {
    print_row("container", source.text(QMIO_CONTAINER, "format").value_or("unknown") + " - " +
                               source.text(QMIO_CONTAINER, "format_long").value_or(""));
    print_row("duration", duration_text(source, QMIO_CONTAINER));
    if (const int64_t start = source.file_param("start_us"); start != INT64_MIN && start != 0)
        print_row("start", time_text(start));
    print_row("bit rate", bit_rate_text(source.file_param("bit_rate")));
    print_known("time code", source.text(QMIO_CONTAINER, "timecode"));
    print_known("title", source.text(QMIO_CONTAINER, "title"));
}

// ---- video ----

std::string aspect_text(const Source& source) {
    const int64_t num = source.file_param("sar_num");
    const int64_t den = source.file_param("sar_den");
    const std::string pixel = num == 0 ? "not told, square pixels: " : ratio_text(num, den) + ", ";
    return pixel + "picture " +
           ratio_text(source.width() * std::max<int64_t>(num, 1), source.height() * std::max<int64_t>(den, 1));
}

std::string frames_text(const Source& source) {
    static const std::map<int64_t, const char*> origins = {{QMIO_FRAMES_UNKNOWN, " (not told)"},
                                                           {QMIO_FRAMES_COMPUTED, " (length times rate)"},
                                                           {QMIO_FRAMES_TOLD, " (told by the container)"},
                                                           {QMIO_FRAMES_COUNTED, " (counted)"}};
    const auto found = origins.find(source.file_param("frames_origin"));
    return std::to_string(source.frame_count()) + (found != origins.end() ? found->second : "");
}

std::optional<std::string> field_text(const Source& source) {
    static const std::map<std::string, std::string> orders = {
        {"progressive", "progressive"},
        {"tt", "interlaced, top field first"},
        {"bb", "interlaced, bottom field first"},
        {"tb", "interlaced, top field coded first, bottom field shown first"},
        {"bt", "interlaced, bottom field coded first, top field shown first"}};
    const auto found = orders.find(source.text(QMIO_VIDEO, "field_order").value_or(""));
    return found != orders.end() ? std::optional(found->second) : std::nullopt;
}

std::string colour_text(const Source& source) {
    std::string text;
    for (const auto& [name, key] : {std::pair{"primaries ", "color_primaries"},
                                    {"transfer ", "color_transfer"},
                                    {"matrix ", "color_space"},
                                    {"range ", "color_range"},
                                    {"chroma ", "chroma_location"}})
        if (const auto value = source.text(QMIO_VIDEO, key); value)
            text += (text.empty() ? "" : ", ") + (name + *value);
    return text;
}

void print_pictures(const Source& source) {
    print_row("picture size", std::to_string(source.width()) + " x " + std::to_string(source.height()));
    print_row("pixel aspect", aspect_text(source));
    print_known("pixel format", source.text(QMIO_VIDEO, "pix_fmt"));
    print_known("field order", field_text(source));
    print_known("colour", colour_text(source));
    if (const int64_t turn = source.file_param("rotation"); turn != 0)
        print_row("rotation", std::to_string(turn) + " degrees clockwise to be upright");
}

void print_video(const Source& source) {
    print_row("video streams", std::to_string(source.file_param("nvideo")));
    if (!source.has_video())
        return;
    print_row("video stream", std::to_string(source.file_param("video")));
    print_row("video codec", codec_text(source, QMIO_VIDEO));
    print_pictures(source);
    print_row("frame rate", rate_text(source.file_param("frame_rate_num"), source.file_param("frame_rate_den")));
    print_row("frames", frames_text(source));
    print_row("video duration", duration_text(source, QMIO_VIDEO));
    print_row("video bit rate", bit_rate_text(source.track_param("bit_rate", QMIO_VIDEO)));
    print_known("video title", source.text(QMIO_VIDEO, "title"));
    print_known("video language", source.text(QMIO_VIDEO, "language"));
}

// ---- sound ----

std::string channels_text(const Source& source, int track) {
    const int64_t channels = source.track_param("channels", track);
    const std::string count = std::to_string(channels) + (channels == 1 ? " channel" : " channels");
    const std::optional<std::string> layout = source.text(track, "channel_layout");
    return layout ? count + " (" + *layout + ")" : count;
}

std::string track_text(const Source& source, int track) {
    std::string text = codec_text(source, track);
    const int64_t rate = source.track_param("sample_rate", track);
    if (rate <= 0)
        return text + ", cannot be decoded";
    text += ", " + std::to_string(rate) + " Hz, " + channels_text(source, track);
    for (const char* key : {"sample_fmt", "language"})
        if (const auto value = source.text(track, key); value)
            text += ", " + *value;
    if (const int64_t bits = source.track_param("bit_rate", track); bits > 0)
        text += ", " + bit_rate_text(bits);
    if (const auto title = source.text(track, "title"); title)
        text += ", \"" + *title + "\"";
    return text;
}

void print_audio(const Source& source) {
    const int tracks = static_cast<int>(source.file_param("naudio"));
    print_row("audio tracks", std::to_string(tracks));
    if (tracks <= 0)
        return;
    print_row("audio stream", std::to_string(source.file_param("audio")));
    print_row("audio duration", time_text(int64_t{1000} * qmio_get_dur(source.handle())));
    for (int track = 0; track < tracks; ++track)
        print_row("track " + std::to_string(track), track_text(source, track));
}

struct InfoOptions {
    std::string file;
    bool json = false;
    std::string opening;
};

void info(const InfoOptions& options) {
    const Source source(options.file, options.opening);
    if (options.json)
        return print_json(source, std::cout);
    std::cout << options.file << '\n';
    print_container(source);
    print_video(source);
    print_audio(source);
}

}  // namespace

void add_info(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("info", "Print what a file holds: container, codecs, sizes, rates, durations");
    auto options = std::make_shared<InfoOptions>();
    verb->add_option("FILE", options->file, "The file to look at")->required();
    verb->add_flag("--json", options->json, "The same and all tags as JSON, described in docs/info-json.md");
    verb->add_option("--options", options->opening, kOpeningOptions);
    verb->callback([options] { info(*options); });
}

}  // namespace host
