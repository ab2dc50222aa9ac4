// qmio convert IN OUT OPTIONS: a file read and written anew, its pictures and its sound in the form that is asked for.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "failure.h"
#include "frame_buffer.h"
#include "output.h"
#include "output_options.h"
#include "progress.h"
#include "sound.h"
#include "sound_writer.h"
#include "verbs.h"

namespace host {

namespace {

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string options;
};

std::string rate_of(const Source& source) {
    qmio_time_param times{};
    if (qmio_get_time_param(source.handle(), "video", &times) == 0)
        return "25";
    return std::to_string(times.frame_rate_num) + "/" + std::to_string(times.frame_rate_den);
}

// A file with fewer tracks than are written gives its last one to the rest.
int source_track(const Source& source, int track) {
    return std::min(track, static_cast<int>(source.file_param("naudio")) - 1);
}

TrackForm track_form(const Source& source, int track) {
    return {static_cast<int>(source.track_param("file_channels", track)),
            static_cast<int>(source.track_param("file_sample_rate", track))};
}

OptionList fill_in(const Source& source, const std::string& text) {
    OptionList options(text);
    require_container(options);
    if (options.has(kVideoEncoderKeys))
        source.require_pictures();
    add_picture_defaults(options, {source.width(), source.height(), rate_of(source)});
    options.add_track_defaults([&](int track, const std::string& encoder) {
        const TrackForm form = track_form(source, std::max(source_track(source, track), 0));
        if (form.channels < 1)
            throw Failure(source.name(), "has no sound that can be decoded");
        return track_defaults(encoder, form);
    });
    return options;
}

std::vector<SoundWriter> open_sounds(const Source& source, Output& output) {
    std::vector<SoundWriter> sounds;
    sounds.reserve(static_cast<std::size_t>(output.track_count()));
    for (int track = 0; track < output.track_count(); ++track)
        sounds.emplace_back(output, track, source.name(), source_track(source, track));
    return sounds;
}

// The pictures of a source in the form that the output takes.
class Pictures {
  public:
    Pictures(Source& source, int format, int width, int height) : source_(source), buffer_(format, width, height) {
        qmio_set_dst_fmt(source.handle(), format);
    }

    // False at the end. Damaged packets are passed over.
    bool next() {
        int result = QMIO_DECODER_ERROR;
        while (!draining_ && result == QMIO_DECODER_ERROR)
            result = imio_read_frame(source_.handle(), &buffer_.record());
        if (!draining_ && result > QMIO_PICTURE_HELD)
            return true;
        draining_ = true;
        return imio_video_pkt(source_.handle(), &buffer_.record(), nullptr) > QMIO_PICTURE_HELD;
    }

    imio_picture& record() { return buffer_.record(); }

  private:
    Source& source_;
    FrameBuffer buffer_;
    bool draining_ = false;
};

void write_pictures(Source& source, Output& output, const OptionList& options, std::vector<SoundWriter>& sounds) {
    Pictures pictures(source, pixel_format_of(options), output.width(), output.height());
    Progress progress("convert", source.frame_count());
    const double period = seconds_per_picture(options);
    for (int frame = 1; pictures.next(); ++frame) {
        output.write(pictures.record());
        for (SoundWriter& sound : sounds)
            sound.write_until(frame * period);
        progress.step();
    }
}

void convert(const ConvertOptions& options) {
    require_other_file(options.in, options.out);
    Source source(options.in);
    const OptionList filled = fill_in(source, options.options);
    Output output(options.out, filled.text());
    std::vector<SoundWriter> sounds = open_sounds(source, output);
    if (output.has_video())
        write_pictures(source, output, filled, sounds);
    for (SoundWriter& sound : sounds)
        sound.write_rest();
    output.close();
}

}  // namespace

void add_convert(CLI::App& app) {
    CLI::App* verb = app.add_subcommand("convert", "Write the pictures and the sound of a file into a new one");
    auto options = std::make_shared<ConvertOptions>();
    verb->add_option("IN", options->in, "The file to read")->required();
    verb->add_option("OUT", options->out, "The file to write")->required();
    verb->add_option("OPTIONS", options->options,
                     "What to write, for instance fmt=mp4,vcodec=libx264,b:v=2M,acodec=aac; size, rates, channels and "
                     "formats that are left out are those of IN; another rate changes the speed of the pictures")
        ->required();
    verb->callback([options] { convert(*options); });
}

}  // namespace host
