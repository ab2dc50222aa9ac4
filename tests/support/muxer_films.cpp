#include "support/muxer_films.h"

#include <cstring>

namespace qmio::test {

namespace {

struct Stream {
    const char* encoder;
    const char* form;
};

constexpr Stream kVideos[] = {
    {"mpeg4", "pix=yuv420p"},      {"mjpeg", "pix=yuvj420p"},     {"libx264", "pix=yuv420p"},
    {"mpeg2video", "pix=yuv420p"}, {"mpeg1video", "pix=yuv420p"}, {"rawvideo", "pix=yuv420p"},
    {"flv", "pix=yuv420p"},        {"h263", "pix=yuv420p"},       {"libtheora", "pix=yuv420p"},
    {"libvpx", "pix=yuv420p"},     {"dvvideo", "pix=yuv420p"},    {"msmpeg4", "pix=yuv420p"},
    {"wmv2", "pix=yuv420p"},       {"gif", "pix=rgb8"},           {"rv10", "pix=yuv420p"},
    {"amv", "pix=yuvj420p"},       {"png", "pix=rgb24"},          {"flashsv", "pix=bgr24"}};
constexpr Stream kSounds[] = {{"pcm_s16le", "afmt=s16,ar=48000,ac=2"},  {"pcm_s16be", "afmt=s16,ar=48000,ac=2"},
                              {"mp2", "afmt=s16,ar=48000,ac=2"},        {"aac", "afmt=fltp,ar=48000,ac=2"},
                              {"ac3", "afmt=fltp,ar=48000,ac=2"},       {"libmp3lame", "afmt=s16p,ar=44100,ac=2"},
                              {"libvorbis", "afmt=fltp,ar=48000,ac=2"}, {"vorbis", "afmt=fltp,ar=48000,ac=2"},
                              {"libopus", "afmt=flt,ar=48000,ac=2"},    {"flac", "afmt=s16,ar=48000,ac=2"},
                              {"wmav2", "afmt=fltp,ar=44100,ac=2"},     {"pcm_mulaw", "afmt=s16,ar=8000,ac=1"},
                              {"ac3_fixed", "afmt=s32p,ar=48000,ac=2"}, {"adpcm_swf", "afmt=s16,ar=44100,ac=2"},
                              {"pcm_s16le", "afmt=s16,ar=48000,ac=1"},  {"adpcm_ima_amv", "afmt=s16,ar=22050,ac=1"},
                              {"pcm_u8", "afmt=u8,ar=44100,ac=2"}};
constexpr const char* kSizes[] = {"352x288", "720x576"};

bool is_device(const AVOutputFormat& muxer) {
    return muxer.priv_class != nullptr && AV_IS_OUTPUT_DEVICE(muxer.priv_class->category);
}

std::string name_of_encoder(AVCodecID id) {
    const AVCodec* const encoder = id != AV_CODEC_ID_NONE ? avcodec_find_encoder(id) : nullptr;
    return encoder != nullptr ? encoder->name : "";
}

// What the muxer itself would take comes first.
template <class Streams>
std::vector<Stream> sorted(const Streams& streams, const std::string& first) {
    std::vector<Stream> all;
    for (const bool wanted : {true, false})
        for (const Stream& stream : streams)
            if ((stream.encoder == first) == wanted)
                all.push_back(stream);
    return all;
}

class Search {
  public:
    Search(const AVOutputFormat& muxer, const std::string& path, CaseProcess& host)
        : muxer_(muxer), path_(path), host_(host) {}

    std::string film() {
        const std::vector<std::string> sounds = sounds_of(muxer_);
        const std::string video = first_taken("", videos_of(muxer_));
        if (const std::string sound = first_taken(video, sounds); !video.empty() || !sound.empty())
            return begin() + video + sound;
        // What wants both takes none alone.
        for (const std::string& one : videos_of(muxer_))
            if (const std::string sound = first_taken(one, sounds); !sound.empty())
                return begin() + one + sound;
        return "";
    }

  private:
    std::string begin() const { return "fmt=" + name_of(muxer_) + ",r=25,strict:v=-2,strict:a=-2,strict=-2"; }
    bool is_taken(const std::string& streams) {
        return host_.answer("262144\t" + path_ + "\tps\t" + begin() + streams) == "made";
    }

    static std::vector<std::string> videos_of(const AVOutputFormat& muxer) {
        std::vector<std::string> all;
        for (const Stream& stream : sorted(kVideos, name_of_encoder(muxer.video_codec)))
            for (const char* size : kSizes)
                all.push_back(std::string(",vcodec=") + stream.encoder + "," + stream.form + ",size=" + size +
                              ",threads:v=1");
        return all;
    }
    static std::vector<std::string> sounds_of(const AVOutputFormat& muxer) {
        std::vector<std::string> all;
        for (const Stream& stream : sorted(kSounds, name_of_encoder(muxer.audio_codec)))
            all.push_back(std::string(",acodec=") + stream.encoder + "," + stream.form);
        return all;
    }
    std::string first_taken(const std::string& beside, const std::vector<std::string>& streams) {
        for (const std::string& one : streams)
            if (is_taken(beside + one))
                return one;
        return "";
    }

    const AVOutputFormat& muxer_;
    std::string path_;
    CaseProcess& host_;
};

}  // namespace

std::vector<const AVOutputFormat*> file_muxers() {
    std::vector<const AVOutputFormat*> all;
    void* position = nullptr;
    while (const AVOutputFormat* muxer = av_muxer_iterate(&position))
        if (!is_device(*muxer))
            all.push_back(muxer);
    return all;
}

std::string name_of(const AVOutputFormat& muxer) {
    return {muxer.name, std::strcspn(muxer.name, ",")};
}

std::string film_for(const AVOutputFormat& muxer, const std::string& path, CaseProcess& creating_host) {
    return Search(muxer, path, creating_host).film();
}

}  // namespace qmio::test
