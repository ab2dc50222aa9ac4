#include "info/parts.h"

namespace qmio::info {

namespace {

constexpr const char* kTimeCode = "timecode";

const AVStream* stream_with_time_code(const AVFormatContext& container) {
    for (unsigned index = 0; index < container.nb_streams; ++index)
        if (find_tag(container.streams[index]->metadata, kTimeCode) != nullptr)
            return container.streams[index];
    return nullptr;
}

bool take_stream(AVStream* stream, PartKind kind, Part& part) {
    if (stream == nullptr)
        return false;
    part = {kind, stream, stream->metadata};
    return true;
}

}  // namespace

bool find_part(const MediaHandle& handle, int track, Part& part) {
    const AVFormatContext* const container = handle.container.format_ctx.get();
    if (container == nullptr)
        return false;
    if (track == QMIO_VIDEO)
        return take_stream(handle.video.stream, PartKind::video, part);
    if (const Track* sound = handle.tracks.find(track); sound != nullptr)
        return take_stream(sound->stream, PartKind::sound, part);
    part = {PartKind::container, nullptr, container->metadata};
    return track == QMIO_CONTAINER;
}

const char* time_code_tag(const MediaHandle& handle) {
    const AVFormatContext* const container = handle.container.format_ctx.get();
    if (container == nullptr)
        return nullptr;
    const AVStream* const video = handle.video.stream;
    if (const char* text = video != nullptr ? find_tag(video->metadata, kTimeCode) : nullptr; text != nullptr)
        return text;
    if (const char* text = find_tag(container->metadata, kTimeCode); text != nullptr)
        return text;
    const AVStream* const other = stream_with_time_code(*container);
    return other != nullptr ? find_tag(other->metadata, kTimeCode) : nullptr;
}

const char* find_tag(const AVDictionary* tags, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(tags, key, nullptr, 0);
    return entry != nullptr ? entry->value : nullptr;
}

}  // namespace qmio::info
