#include "output_options.h"

#include <qmio.h>

#include "failure.h"

namespace host {

namespace {

const AVCodec* find_encoder(const std::string& name) {
    const intptr_t encoder = qmio_get_id(name.c_str(), "encoder");
    if (encoder == 0)
        throw Failure(name, "is no encoder of this build; see: qmio codecs --encoders");
    return reinterpret_cast<const AVCodec*>(encoder);
}

// The one that the encoder names first, or the usual one when it names none.
std::string pixel_format_for(const std::string& encoder) {
    const auto* formats = static_cast<const int32_t*>(qmio_get_codec_info(find_encoder(encoder), nullptr, "format"));
    const bool has_formats = formats != nullptr && *formats != -1;
    const char* name = qmio_get_pix_info(has_formats ? *formats : qmio_fmtid("AV_PIX_FMT_YUV420P"), "name");
    return name != nullptr ? name : "";
}

std::string sample_format_for(const std::string& encoder) {
    const auto* formats = static_cast<const int*>(qmio_get_codec_info(find_encoder(encoder), nullptr, "sample_fmts"));
    const char* name = formats != nullptr ? qmio_get_pix_info(*formats, "sample") : nullptr;
    return name != nullptr ? name : "s16";
}

}  // namespace

void add_picture_defaults(OptionList& options, const PictureForm& form) {
    const std::string encoder = options.value(kVideoEncoderKeys);
    if (encoder.empty())
        return;
    if (!options.has(kPixelFormatKeys))
        options.add_default("pix=" + pixel_format_for(encoder));
    if (!options.has({"size", "width", "height"}))
        options.add_default("size=" + std::to_string(form.width) + "x" + std::to_string(form.height));
    if (!options.has({"r"}))
        options.add_default("r=" + form.rate);
}

std::string track_defaults(const std::string& encoder, const TrackForm& form) {
    return "ac=" + std::to_string(form.channels) + ",ar=" + std::to_string(form.rate) +
           ",afmt=" + sample_format_for(encoder);
}

int pixel_format_of(const OptionList& options) {
    return static_cast<int>(qmio_get_id(options.value(kPixelFormatKeys).c_str(), "pix"));
}

}  // namespace host
