#include "ffmpeg/codec_lookup.h"

#include <algorithm>
#include <vector>

#include "platform/never_destroyed.h"

namespace qmio::ffmpeg {
namespace {

constinit platform::NeverDestroyed<std::vector<const AVCodec*>> vetoed;

void veto(const AVCodec* codec) {
    if (codec != nullptr && !is_vetoed(codec))
        vetoed.value.push_back(codec);
}

const AVCodec* find(AVCodecID id, int (*is_wanted_kind)(const AVCodec*)) {
    const AVCodec* experimental = nullptr;
    void* position = nullptr;
    while (const AVCodec* codec = av_codec_iterate(&position)) {
        if (codec->id != id || is_wanted_kind(codec) == 0 || is_vetoed(codec))
            continue;
        if ((codec->capabilities & AV_CODEC_CAP_EXPERIMENTAL) == 0)
            return codec;
        if (experimental == nullptr)
            experimental = codec;
    }
    return experimental;
}

}  // namespace

bool is_vetoed(const AVCodec* codec) {
    return std::find(vetoed.value.begin(), vetoed.value.end(), codec) != vetoed.value.end();
}

const AVCodec* find_decoder(AVCodecID id) {
    return find(id, av_codec_is_decoder);
}
const AVCodec* find_encoder(AVCodecID id) {
    return find(id, av_codec_is_encoder);
}

void veto_decoder(const char* name) {
    veto(avcodec_find_decoder_by_name(name));
}
void veto_encoder(const char* name) {
    veto(avcodec_find_encoder_by_name(name));
}

void clear_vetoes() {
    vetoed.value.clear();
    vetoed.value.shrink_to_fit();
}

}  // namespace qmio::ffmpeg
