#include "conversion.h"

#include <algorithm>
#include <cmath>

#include "failure.h"
#include "kept_options.h"
#include "losses.h"
#include "output_options.h"
#include "sound.h"
#include "time_code.h"

namespace host {

namespace {

// Starts that lie no further apart are the same: containers round their times.
constexpr double kSameTime = 0.002;

// No camera takes more pictures a second; what tells more tells its clock.
constexpr double kMostPictures = 300;
constexpr Rate kUsualRate{60, 1};

std::string rate_text_of(const Source& source) {
    const Rate told = rate_of(source);
    const Rate rate = told.value() > kMostPictures ? kUsualRate : told;
    return std::to_string(rate.num) + "/" + std::to_string(rate.den);
}

SoundForm form_in_file(const Source& source, int track) {
    return {static_cast<int>(source.track_param("file_channels", track)),
            static_cast<int>(source.track_param("file_sample_rate", track)),
            static_cast<int>(source.track_param("file_sample_fmt", track))};
}

bool can_be_decoded(const Source& source, int track) {
    const SoundForm form = form_in_file(source, track);
    return form.channels > 0 && form.rate > 0;
}

std::vector<int> readable_tracks(const Source& source, const std::vector<int>& wanted) {
    std::vector<int> tracks;
    const auto count = static_cast<int>(source.file_param("naudio"));
    for (const int track : wanted)
        if (track >= count)
            throw Failure(source.name(), "has no track " + std::to_string(track));
    for (int track = 0; track < count; ++track)
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), track) != wanted.end()) {
            if (can_be_decoded(source, track))
                tracks.push_back(track);
            else
                say(source.name(), "track " + std::to_string(track) + " cannot be decoded and is left out");
        }
    return tracks;
}

// As many as the options begin: each has an encoder of its own. A file with fewer gives its last one to the rest.
std::vector<int> as_many_as(std::size_t count, std::vector<int> tracks, const Source& source) {
    for (std::size_t left_out = count; left_out < tracks.size(); ++left_out)
        say(source.name(), "track " + std::to_string(tracks[left_out]) + " is left out: the options name " +
                               std::to_string(count) + " encoders");
    tracks.resize(count, tracks.back());
    return tracks;
}

void choose_tracks(Conversion& conversion, const std::vector<int>& wanted) {
    const Source& source = conversion.source;
    const int encoders = conversion.chosen.track_count();
    if (encoders == 0) {
        if (source.file_param("naudio") > 0)
            say(source.name(), "its sound is left out: the options name no acodec");
        return;
    }
    std::vector<int> tracks = readable_tracks(source, wanted);
    if (tracks.empty() && !conversion.has_pictures)
        throw Failure(source.name(), "has no sound that can be decoded");
    if (tracks.empty())
        say(source.name(), "has no sound that can be decoded");
    conversion.takes_all_tracks = encoders == 1 || tracks.empty();
    conversion.tracks =
        conversion.takes_all_tracks ? tracks : as_many_as(static_cast<std::size_t>(encoders), tracks, source);
}

std::optional<double> start_of(const Source& source, int track) {
    return Sound(source.name(), track, form_in_file(source, track)).start();
}

std::optional<double> earliest(const std::vector<std::optional<double>>& starts) {
    std::optional<double> found;
    for (const std::optional<double>& start : starts)
        if (start && (!found || *start < *found))
            found = start;
    return found;
}

std::string sample_format_of(const Source& source, int track) {
    return source.text(track, "sample_fmt").value_or("");
}

void keep_file(OptionList& options, const Conversion& conversion) {
    const Source& source = conversion.source;
    const Tags tags = kept_tags(source, QMIO_CONTAINER);
    // The user's own tags may stand in a list.
    if (const auto title = tags.find("title");
        title != tags.end() && !OptionList(options.value({"metadata"})).has({"title"}))
        keep_text(options, "tag:title", title->second);
    if (!conversion.has_pictures)
        return;
    for (const auto& [key, value] : kept_tags(source, QMIO_VIDEO))
        keep_text(options, "tag:v:" + key, value);
    if (!conversion.pictures.time_code.empty()) {
        const std::string start = source.time_code(0).value_or(conversion.pictures.time_code);
        keep_text(options, "timecode", time_code_at(start, rate_of(source).value(), conversion.rate()));
    }
    keep_pictures(options, conversion.pictures);
}

}  // namespace

double Conversion::rate() const {
    OptionList options = chosen;
    if (!options.has({"r"}))
        options.add_default("r=" + rate_text_of(source));
    return 1 / seconds_per_picture(options);
}

int64_t Conversion::lead() const {
    const std::optional<double> sound = earliest(starts);
    if (!has_pictures || !sound || first_picture - *sound <= kSameTime)
        return 0;
    return static_cast<int64_t>(std::ceil((first_picture - *sound) * rate() - kSameTime));
}

double Conversion::silence(int track) const {
    const std::optional<double> sound = earliest(starts);
    const std::optional<double> start = starts[static_cast<std::size_t>(track)];
    if (!start || !sound)
        return 0;
    const double origin = has_pictures ? first_picture - static_cast<double>(lead()) / rate() : *sound;
    return *start - origin > kSameTime ? *start - origin : 0;
}

Conversion plan_conversion(const Source& source, PictureReader& reader, const OptionList& chosen,
                           const std::vector<int>& wanted) {
    Conversion conversion{source, chosen};
    conversion.has_pictures = chosen.has(kVideoEncoderKeys);
    if (conversion.has_pictures) {
        source.require_pictures();
        if (!reader.next())
            throw Failure(source.name(), "no picture of it can be read");
        conversion.first_picture = reader.time();
        conversion.pictures = picture_facts(source, reader.fields());
    }
    choose_tracks(conversion, wanted);
    for (const int track : conversion.tracks)
        conversion.starts.push_back(start_of(source, track));
    return conversion;
}

OptionList options_for(const Conversion& conversion, int tracks, bool keeps) {
    OptionList options = conversion.chosen;
    const Source& source = conversion.source;
    if (conversion.takes_all_tracks)
        options.set_track_count(tracks);
    const std::optional<std::string> range = source.text(QMIO_VIDEO, "color_range");
    add_picture_defaults(options, {source.width(), source.height(), rate_text_of(source), conversion.pictures.format,
                                   range.value_or("") == "pc"});
    if (keeps)
        keep_file(options, conversion);
    options.add_track_defaults([&](int number, const std::string& encoder) {
        const int track = conversion.tracks[static_cast<std::size_t>(number)];
        const SoundForm form = form_in_file(source, track);
        const Tags tags = keeps ? kept_tags(source, track) : Tags();
        return track_defaults(encoder, {form.channels, form.rate, sample_format_of(source, track)}) +
               tag_options(tags, "tag:a:");
    });
    return options;
}

}  // namespace host
