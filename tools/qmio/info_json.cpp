#include "info_json.h"

#include <cstdio>
#include <ostream>

namespace host {

namespace {

constexpr const char* kTexts[] = {"ver",   "build",  "fmt", "fdescr", "ofmt",   "ofdescr",
                                  "codec", "cdescr", "pix", "pdescr", "acodec", "acdescr"};
constexpr const char* kNumbers[] = {"check",
                                    "error",
                                    "write_error",
                                    "nvideo",
                                    "naudio",
                                    "video",
                                    "audio",
                                    "fmt",
                                    "codec",
                                    "acodec",
                                    "pix",
                                    "start",
                                    "interlace",
                                    "top_field",
                                    "dts_frame",
                                    "sample_rate",
                                    "audio_rate",
                                    "sample_fmt_id",
                                    "audio_fmt_id",
                                    "sample_fmt",
                                    "audio_fmt",
                                    "channels",
                                    "audio_channels",
                                    "align",
                                    "packet",
                                    "xfmt",
                                    "xvcodec",
                                    "xacodec",
                                    "xvstream",
                                    "audio_map",
                                    "vb",
                                    "ab",
                                    "width",
                                    "height",
                                    "frames"};
constexpr const char* kStreamNumbers[] = {"vpts",     "frame_type", "gop", "frame_num", "frame_pos",
                                          "pkt_size", "par",        "sar", "dar"};
constexpr const char* kTrackNumbers[] = {"apts",
                                         "sample_rate",
                                         "file_sample_rate",
                                         "audio_rate",
                                         "user_sample_rate",
                                         "sample_fmt_id",
                                         "file_sample_format",
                                         "audio_fmt_id",
                                         "user_sample_format",
                                         "sample_fmt",
                                         "file_sample_fmt",
                                         "audio_fmt",
                                         "user_sample_fmt",
                                         "channels",
                                         "file_channels",
                                         "audio_channels",
                                         "user_channels"};
constexpr const char* kTimes[] = {"dur", "video", "audio", "packet", "key", "seek"};

std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\')
            result += '\\';
        if (static_cast<unsigned char>(letter) >= 0x20) {
            result += letter;
        } else {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(letter));
            result += escape;
        }
    }
    return result + '"';
}

// Members of an object, a line each.
class Members {
  public:
    Members(std::ostream& out, std::string indent) : out_(out), indent_(std::move(indent)) {}

    std::ostream& add(const std::string& key) {
        out_ << (first_ ? "\n" : ",\n") << indent_ << quoted(key) << ": ";
        first_ = false;
        return out_;
    }

  private:
    std::ostream& out_;
    std::string indent_;
    bool first_ = true;
};

void print_track(const Source& source, int track, std::ostream& out) {
    out << "\n    {";
    Members members(out, "      ");
    for (const char* key : kTrackNumbers)
        members.add(key) << source.track_param(key, track);
    out << "\n    }";
}

void print_tracks(const Source& source, std::ostream& out) {
    out << "[";
    for (int track = 0; track < source.file_param("naudio"); ++track) {
        out << (track > 0 ? "," : "");
        print_track(source, track, out);
    }
    out << "\n  ]";
}

void print_time(const Source& source, const char* key, std::ostream& out) {
    qmio_time_param times{};
    const int result = qmio_get_time_param(source.handle(), key, &times);
    out << "{\"result\": " << result << ", \"pts\": " << times.pts << ", \"dts\": " << times.dts
        << ", \"start\": " << times.start << ", \"duration\": " << times.duration << ", \"time_base\": \""
        << times.time_base_num << '/' << times.time_base_den << "\", \"frame_rate\": \"" << times.frame_rate_num << '/'
        << times.frame_rate_den << "\", \"container_start\": " << times.container_start
        << ", \"container_duration\": " << times.container_duration << ", \"frame_count\": " << times.frame_count
        << "}";
}

template <std::size_t count, class Print>
void print_object(Members& whole, const char* name, const char* const (&keys)[count], Print&& print) {
    std::ostream& out = whole.add(name);
    out << "{";
    Members members(out, "    ");
    for (const char* key : keys)
        print(members.add(key), key);
    out << "\n  }";
}

}  // namespace

void print_json(const Source& source, std::ostream& out) {
    out << "{";
    Members whole(out, "  ");
    whole.add("name") << quoted(source.name());
    print_object(whole, "info", kTexts, [&](std::ostream& to, const char* key) {
        const char* text = qmio_get_file_info(source.handle(), key);
        to << quoted(text != nullptr ? text : "");
    });
    print_object(whole, "file", kNumbers, [&](std::ostream& to, const char* key) { to << source.file_param(key); });
    print_object(whole, "stream", kStreamNumbers,
                 [&](std::ostream& to, const char* key) { to << source.track_param(key, 0); });
    print_tracks(source, whole.add("tracks"));
    print_object(whole, "times", kTimes, [&](std::ostream& to, const char* key) { print_time(source, key, to); });
    out << "\n}\n";
}

}  // namespace host
