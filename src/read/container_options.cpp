// What a container is opened with: the configuration's options and then the host's.
#include "core/process/settings.h"
#include "core/process/trace.h"
#include "core/text/names.h"
#include "core/text/option_passes.h"
#include "read/open.h"

namespace qmio::read {

namespace {

// True where FFmpeg's protocols fetch the bytes.
bool has_protocol(const Request& request) {
    return request.block == nullptr && !request.bytes && !has_prefix(request.name.c_str(), "avio:") &&
           !has_prefix(request.name.c_str(), "dshow:");
}

}  // namespace

ffmpeg::Dictionary configured_options(const char* entry) {
    ffmpeg::Dictionary dictionary;
    if (settings().database != nullptr) {
        for (const qmlib::XmlDatabase::Option& option : settings().database->options(entry))
            dictionary.set(option.name.c_str(), option.value.c_str());
    }
    return dictionary;
}

ffmpeg::Dictionary container_options(AVFormatContext& context, const Request& request) {
    ffmpeg::Dictionary dictionary = configured_options("format");
    add_format_options(context, dictionary, request.options);
    if (has_protocol(request))
        add_protocol_options(plain_url(request), dictionary, request.options);
    if (tracing(TraceSwitch::options)) {
        trace(TraceSwitch::options, kOpenTag, L"format opts:\n");
        dump_dictionary(dictionary, kOpenTag);
    }
    return dictionary;
}

}  // namespace qmio::read
