// Every member is described in docs/info-json.md.
#include "info_json.h"

#include <algorithm>
#include <sstream>

#include "json.h"

namespace host {

namespace {

constexpr int64_t kSchema = 1;

std::optional<int64_t> above_zero(int64_t number) {
    return number > 0 ? std::optional(number) : std::nullopt;
}

std::optional<int64_t> number(const Source& source, const char* key, int part) {
    return above_zero(source.track_param(key, part));
}

// The library's smallest integer is an unknown time.
std::optional<int64_t> time(const Source& source, const char* key, int part) {
    const int64_t microseconds = source.track_param(key, part);
    return microseconds != INT64_MIN ? std::optional(microseconds) : std::nullopt;
}

void add_ratio(JsonWriter& json, const char* name, int64_t num, int64_t den) {
    if (num > 0 && den > 0)
        json.add(name, std::vector<int64_t>{num, den});
    else
        json.add_null(name);
}

void add_texts(JsonWriter& json, const Source& source, int part, std::initializer_list<const char*> keys) {
    for (const char* key : keys)
        json.add(key, source.text(part, key));
}

void add_tags(JsonWriter& json, const Source& source, int part) {
    json.begin_object("tags");
    std::istringstream keys(source.text(part, "tags").value_or(""));
    for (std::string key; std::getline(keys, key);)
        json.add(key, source.text(part, "tag:" + key));
    json.end();
}

void add_times(JsonWriter& json, const Source& source, int part) {
    json.add("duration_us", time(source, "duration_us", part));
    json.add("start_us", time(source, "start_us", part));
    json.add("bit_rate", number(source, "bit_rate", part));
}

void add_container(JsonWriter& json, const Source& source) {
    json.begin_object("container");
    add_texts(json, source, QMIO_CONTAINER, {"format", "format_long"});
    add_times(json, source, QMIO_CONTAINER);
    add_texts(json, source, QMIO_CONTAINER, {"timecode"});
    add_tags(json, source, QMIO_CONTAINER);
    json.end();
}

std::optional<std::string> name_of_origin(int64_t origin) {
    switch (origin) {
        case QMIO_FRAMES_COMPUTED:
            return "computed";
        case QMIO_FRAMES_TOLD:
            return "told";
        case QMIO_FRAMES_COUNTED:
            return "counted";
        default:
            return {};
    }
}

void add_frames(JsonWriter& json, const Source& source) {
    const std::optional<std::string> origin = name_of_origin(source.file_param("frames_origin"));
    json.add("frames", origin ? above_zero(source.frame_count()) : std::nullopt);
    json.add("frames_origin", origin);
}

void add_video(JsonWriter& json, const Source& source) {
    json.begin_object("video");
    json.add("stream", source.file_param("video"));
    json.add("streams", source.file_param("nvideo"));
    add_texts(json, source, QMIO_VIDEO, {"codec", "codec_long", "codec_tag", "profile"});
    json.add("decoder", std::optional<std::string>(qmio_get_file_info(source.handle(), "codec")));
    json.add("width", above_zero(source.width()));
    json.add("height", above_zero(source.height()));
    add_ratio(json, "pixel_aspect", source.file_param("sar_num"), source.file_param("sar_den"));
    json.add("rotation", source.file_param("rotation"));
    add_ratio(json, "frame_rate", source.file_param("frame_rate_num"), source.file_param("frame_rate_den"));
    add_frames(json, source);
    add_times(json, source, QMIO_VIDEO);
    json.add("bits_per_raw_sample", number(source, "bits_per_raw_sample", QMIO_VIDEO));
    add_texts(json, source, QMIO_VIDEO,
              {"pix_fmt", "field_order", "color_primaries", "color_transfer", "color_space", "color_range",
               "chroma_location", "timecode", "language", "title"});
    add_tags(json, source, QMIO_VIDEO);
    json.end();
}

void add_track(JsonWriter& json, const Source& source, int track) {
    json.begin_object();
    json.add("track", track);
    json.add("stream", source.track_param("audio", track));
    add_texts(json, source, track, {"codec", "codec_long", "codec_tag", "profile"});
    json.add("sample_rate", number(source, "file_sample_rate", track));
    json.add("channels", number(source, "file_channels", track));
    json.add("channel_mask", number(source, "channel_mask", track));
    json.add("bits_per_raw_sample", number(source, "bits_per_raw_sample", track));
    add_times(json, source, track);
    add_texts(json, source, track, {"sample_fmt", "channel_layout", "timecode", "language", "title"});
    add_tags(json, source, track);
    json.end();
}

}  // namespace

void print_json(const Source& source, std::ostream& out) {
    JsonWriter json(out);
    json.begin_object();
    json.add("schema", kSchema);
    json.add("library", std::optional<std::string>(qmio_get_file_info(nullptr, "ver")));
    json.add("file", std::optional<std::string>(source.name()));
    add_container(json, source);
    if (source.has_video())
        add_video(json, source);
    else
        json.add_null("video");
    json.begin_list("tracks");
    for (int track = 0; track < source.file_param("naudio"); ++track)
        add_track(json, source, track);
    json.end();
    json.end();
}

}  // namespace host
