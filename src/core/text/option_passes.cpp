#include "core/text/option_passes.h"

#include "core/process/trace.h"
#include "ffmpeg/option_names.h"
#include "ffmpeg/protocol.h"

namespace qmio {
namespace {

// Bits that an option of FFmpeg must carry to be taken.
constexpr int kAnyOption = 0;
constexpr int kVideoEncoding = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;
constexpr int kAudioEncoding = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_AUDIO_PARAM;
constexpr int kVideoDecoding = AV_OPT_FLAG_DECODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;

// Cuts "key:v" and "key:a" at the colon. False when the suffix names a kind of stream that the pass is not for.
bool cut_stream_suffix(std::string& key, int filter) {
    const std::size_t colon = key.find(':');
    if (colon == key.npos)
        return true;
    const std::string suffix = key.substr(colon + 1);
    key.resize(colon);
    return (suffix == "v" && (filter & AV_OPT_FLAG_VIDEO_PARAM) != 0) ||
           (suffix == "a" && (filter & AV_OPT_FLAG_AUDIO_PARAM) != 0);
}

// Adds every pair whose key is an option of `object` that carries all bits of `filter`.
void add_known_options(void* object, ffmpeg::Dictionary& dictionary, const Options& options, int filter,
                       int search_flags) {
    for (const Option& pair : options) {
        std::string key = pair.key;
        if (!cut_stream_suffix(key, filter))
            continue;
        const AVOption* option = ffmpeg::find_option(object, key.c_str(), search_flags);
        if (option == nullptr || (option->flags & filter) != filter)
            continue;
        // A name of today goes before one of earlier days.
        if (key == option->name || dictionary.get(option->name) == nullptr)
            dictionary.set(option->name, pair.value.c_str());
    }
}

}  // namespace

void add_format_options(AVFormatContext& context, ffmpeg::Dictionary& dictionary, const Options& options) {
    add_known_options(&context, dictionary, options, kAnyOption, AV_OPT_SEARCH_CHILDREN);
    // Options of demuxers that do not exist yet when the options are read: capture devices, raw video.
    for (const Option& pair : options)
        for (const std::string_view key : {"video_size", "pixel_format", "framerate"})
            if (pair.key == key)
                dictionary.set(pair.key.c_str(), pair.value.c_str());
}

void add_demuxer_options(const AVInputFormat& demuxer, ffmpeg::Dictionary& dictionary, const Options& options) {
    // A class stands for its objects where it is searched as one.
    const AVClass* options_of_demuxer = demuxer.priv_class;
    if (options_of_demuxer != nullptr)
        add_known_options(&options_of_demuxer, dictionary, options, kAnyOption, AV_OPT_SEARCH_FAKE_OBJ);
}

void add_protocol_options(const std::string& url, ffmpeg::Dictionary& dictionary, const Options& options) {
    for (const Option& pair : options)
        if (ffmpeg::protocol_knows_option(url, pair.key))
            dictionary.set(pair.key.c_str(), pair.value.c_str());
}

void add_video_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options) {
    add_known_options(&context, dictionary, options, kVideoEncoding, AV_OPT_SEARCH_CHILDREN);
}

void add_audio_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options) {
    // Unlike video, an audio encoder's private options are not searched; hosts rely on the difference.
    add_known_options(&context, dictionary, options, kAudioEncoding, 0);
}

void add_video_decoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options) {
    add_known_options(&context, dictionary, options, kVideoDecoding, 0);
}

void dump_dictionary(const AVDictionary* dictionary, const wchar_t* tag) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        trace(TraceSwitch::options, tag, L"\t[%S] = [%S]\n", entry->key, entry->value);
}

}  // namespace qmio
