#include "read/decode.h"

#include "core/frame_numbers.h"
#include "core/trace.h"
#include "ffmpeg/frame_flags.h"

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"dec_video_pkt";

int trace_error(const wchar_t* text, int code) {
    trace(TraceSwitch::read, L"trace_err", L"error %d: %s\n", code, text);
    return code;
}

// kNoPicture: the call may go on.
int check_arguments(const MediaHandle& handle, const imio_picture* picture, const AVPacket* packet) {
    const ReaderState& reader = handle.reader;
    if (picture == nullptr)
        return trace_error(L"pm == NULL", kNothingToWorkOn);
    if (reader.pCodecCtx == nullptr)
        return trace_error(L"fp->pCodecCtx == NULL", kNothingToWorkOn);
    if (reader.pFrame == nullptr)
        return trace_error(L"fp->pFrame == NULL", kNothingToWorkOn);
    if (reader.pFrameRGB == nullptr)
        return trace_error(L"fp->pFrameRGB == NULL", kNothingToWorkOn);
    if (reader.video_stream_index == -1)
        return kNoVideoStream;
    if (packet != nullptr && packet->stream_index != reader.video_stream_index)
        return trace_error(L"pkt->stream_index != video", kOtherStream);
    return kNoPicture;
}

// A codec that refers to earlier pictures loses them when it is drained in mid-stream. One that does not, or whose only
// packet this was, may be drained and go on.
bool can_drain_after_packet(const ReaderState& reader) {
    if (reader.pCodecCtx->codec_id == AV_CODEC_ID_PNG ||
        (reader.video_st != nullptr && reader.video_st->nb_frames == 1))
        return true;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(reader.pCodecCtx->codec_id);
    return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

int field_result(const AVFrame& frame) {
    if (ffmpeg::is_top_field_first(frame))
        return kTopFieldFirst;
    return ffmpeg::is_interlaced(frame) ? kBottomFieldFirst : kProgressivePicture;
}

int finish_picture(MediaHandle& handle, imio_picture* picture, const AVPacket* packet) {
    ReaderState& reader = handle.reader;
    convert_held_picture(handle, picture);
    reader.frame_time_ms = frame_ms_of(handle, packet);
    reader.have_frame = frame_number_of(handle, packet);
    if (reader.have_frame >= kNoFrame)
        reader.want_frame = reader.have_frame + 1;
    return field_result(*reader.pFrame);
}

// A packet is used up without a picture: a still image, PNG above all, gets its delayed picture here. A source of
// unknown length counts as one frame, too; where its codec cannot be drained now, reading drains it at its end.
bool drain_still(MediaHandle& handle, int* got) {
    ReaderState& reader = handle.reader;
    if (reader.frame_count > 1 && reader.pCodecCtx->codec_id != AV_CODEC_ID_PNG)
        return false;
    if (!can_drain_after_packet(reader))
        return false;
    reader.video_decoder.decode(reader.pFrame.get(), got, nullptr);
    return true;
}

// Feeds the decoder with what is left of the packet; false ends the call with *result.
bool decode_rest(MediaHandle& handle, AVPacket* packet, int* got, int* used, int* result) {
    ReaderState& reader = handle.reader;
    if (packet == nullptr || packet->size > 0) {
        *used = reader.video_decoder.decode(reader.pFrame.get(), got, packet);
        if (*used >= 0)
            return true;
        trace(TraceSwitch::read, kTag, L"\t[%S] decode video error %d\n", handle.file_name, *used);
        *result = kDecoderError;
        return false;
    }
    *used = 0;
    if (drain_still(handle, got))
        return true;
    trace(TraceSwitch::read, kTag, L"\tframe %d: not decoded, key %d\n", reader.want_frame,
          packet->flags & AV_PKT_FLAG_KEY);
    *result = kNoPicture;
    return false;
}

int decode_loop(MediaHandle& handle, imio_picture* picture, AVPacket* packet) {
    ReaderState& reader = handle.reader;
    for (;;) {
        int got = 0;
        int used = 0;
        int result = kNoPicture;
        if (!decode_rest(handle, packet, &got, &used, &result))
            return result;
        trace(TraceSwitch::read, kTag, L"\tframe %d: finished %d, decode pkt %d bytes of %d\n", reader.want_frame, got,
              used, packet != nullptr ? packet->size : 0);
        if (got != 0)
            return finish_picture(handle, picture, packet);
        if (used < 1 || packet == nullptr || packet->data == nullptr)
            break;
        packet->size -= used;
        packet->data += used;
        trace(TraceSwitch::read, kTag, L"\tframe %d: finished %d, new pkt size %d\n", reader.want_frame, got,
              packet->size);
        if (reader.pCodecCtx->codec_id == AV_CODEC_ID_H264 && packet->size < 1)
            break;
    }
    trace(TraceSwitch::read, kTag, L"done\n");
    return kNoPicture;
}

}  // namespace

int decode_packet(MediaHandle& handle, imio_picture* picture, AVPacket* packet) {
    const ReaderState& reader = handle.reader;
    if (const int result = check_arguments(handle, picture, packet); result != kNoPicture)
        return result;
    if (reader.want_frame == reader.have_frame && reader.frame_count == 1)
        return trace_error(L"single frame", kSingleFrameHeld);
    trace(TraceSwitch::read, kTag, L"\t*** want frame %d, have frame %d, key %d, size %d, pts %I64d dts %I64d\n",
          reader.want_frame, reader.have_frame, packet != nullptr ? packet->flags & AV_PKT_FLAG_KEY : 0,
          packet != nullptr ? packet->size : 0, packet != nullptr ? packet->pts : AV_NOPTS_VALUE,
          packet != nullptr ? packet->dts : AV_NOPTS_VALUE);
    return decode_loop(handle, picture, packet);
}

int deliver_kept(MediaHandle& handle, imio_picture* picture) {
    if (!handle.reader.video_decoder.take_kept(handle.reader.pFrame.get()))
        return kNoPicture;
    return finish_picture(handle, picture, nullptr);
}

}  // namespace qmio::read
