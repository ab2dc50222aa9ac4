#include "read/decode.h"

#include <optional>

#include "core/handle/frame_numbers.h"
#include "core/process/trace.h"
#include "core/process/why.h"
#include "ffmpeg/frame_flags.h"
#include "read/deliver.h"

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"dec_video_pkt";

int trace_error(const wchar_t* text, int code) {
    trace(TraceSwitch::read, L"trace_err", L"error %d: %s\n", code, text);
    if (code < 0)
        why::failed(AVERROR(EINVAL), "there is nothing to decode, or nothing to decode it with");
    return code;
}

// QMIO_NO_PICTURE: the call may go on.
int check_arguments(const Source& source, const imio_picture* picture, const AVPacket* packet) {
    if (picture == nullptr)
        return trace_error(L"pm == NULL", QMIO_NOTHING_TO_DECODE);
    // A file that is being written has a codec, too, but nothing to decode with.
    if (!source.reading.decoder.is_attached())
        return trace_error(L"fp->pCodecCtx == NULL", QMIO_NOTHING_TO_DECODE);
    if (source.reading.pFrame == nullptr)
        return trace_error(L"fp->pFrame == NULL", QMIO_NOTHING_TO_DECODE);
    if (source.reading.pFrameRGB == nullptr)
        return trace_error(L"fp->pFrameRGB == NULL", QMIO_NOTHING_TO_DECODE);
    if (source.video.stream_index == -1)
        return QMIO_NO_VIDEO_STREAM;
    if (packet != nullptr && packet->stream_index != source.video.stream_index)
        return trace_error(L"pkt->stream_index != video", QMIO_OTHER_STREAM);
    return QMIO_NO_PICTURE;
}

// A decoder hands the time of a packet on to its picture, whatever the order in which pictures come out. Where pictures
// were counted, the packet's place among all of them goes that way.
class PlaceForTime {
  public:
    PlaceForTime(const Video& video, AVPacket* packet)
        : packet_(video.counted != nullptr ? packet : nullptr), pts_(packet != nullptr ? packet->pts : AV_NOPTS_VALUE) {
        if (packet_ == nullptr)
            return;
        const int32_t place = video.counted->find(*packet_);
        packet_->pts = place != CountedPictures::kNone ? place : AV_NOPTS_VALUE;
    }
    PlaceForTime(const PlaceForTime&) = delete;
    PlaceForTime& operator=(const PlaceForTime&) = delete;
    ~PlaceForTime() {
        if (packet_ != nullptr)
            packet_->pts = pts_;
    }

  private:
    AVPacket* const packet_;
    const int64_t pts_;
};

// The number that the place of the picture's packet tells; the picture has its time again.
int32_t take_counted_number(const CountedPictures& counted, Reading& reading, int32_t next) {
    AVFrame& frame = *reading.pFrame;
    reading.numbered = frame.pts != AV_NOPTS_VALUE;
    if (!reading.numbered)
        return next;
    const CountedPictures::Packet& packet = counted.packet(static_cast<int32_t>(frame.pts));
    frame.pts = packet.pts;
    frame.best_effort_timestamp = packet.pts != AV_NOPTS_VALUE ? packet.pts : frame.pkt_dts;
    reading.numbered = packet.number != CountedPictures::kNone;
    return reading.numbered ? packet.number : next;
}

int32_t number_held_picture(const Video& video, Reading& reading, const AVPacket* packet) {
    if (video.counted != nullptr)
        return take_counted_number(*video.counted, reading, video.want_frame);
    reading.numbered = picture_timestamp(*reading.pFrame, packet) != AV_NOPTS_VALUE;
    return frame_number_of(video, *reading.pFrame, packet);
}

// What the decoder tells of the first picture alone; where numbers follow decoding times that one is number 1.
void keep_time_code(Video& video, const AVFrame& frame) {
    if (video.have_frame < 0 || video.have_frame > 1 || !video.gop_time_code.empty())
        return;
    video.gop_time_code = ffmpeg::gop_time_code(frame);
    video.gop_frame = video.have_frame;
}

int finish_picture(Source& source, imio_picture* picture, const AVPacket* packet) {
    Video& video = source.video;
    convert_held_picture(source, picture);
    video.have_frame = number_held_picture(video, source.reading, packet);
    if (video.have_frame >= kNoFrame)
        video.want_frame = video.have_frame + 1;
    keep_time_code(video, *source.reading.pFrame);
    return field_result(*source.reading.pFrame);
}

void trace_decoded(const Video& video, bool got, int used, const AVPacket* packet) {
    trace(TraceSwitch::read, kTag, L"\tframe %d: finished %d, decode pkt %d bytes of %d\n", video.want_frame,
          got ? 1 : 0, used, packet != nullptr ? packet->size : 0);
}

int trace_done() {
    trace(TraceSwitch::read, kTag, L"done\n");
    return QMIO_NO_PICTURE;
}

int decode(Source& source, bool& got, AVPacket* packet) {
    const PlaceForTime place(source.video, packet);
    return source.reading.decoder.decode(source.reading.pFrame.get(), got, packet);
}

// The first step: the packet into the decoder, or the drain. Nothing where all of the packet was used without a picture
// and the second step may find one.
std::optional<int> feed(Source& source, imio_picture* picture, AVPacket* packet) {
    const Video& video = source.video;
    bool got = false;
    const int used = decode(source, got, packet);
    if (used < 0) {
        trace(TraceSwitch::read, kTag, L"\t[%S] decode video error %d\n", source.name, used);
        why::failed(used, "a packet of the video cannot be decoded");
        return QMIO_DECODER_ERROR;
    }
    trace_decoded(video, got, used, packet);
    if (got)
        return finish_picture(source, picture, packet);
    if (used < 1 || packet == nullptr || packet->data == nullptr)
        return trace_done();
    packet->size -= used;
    packet->data += used;
    trace(TraceSwitch::read, kTag, L"\tframe %d: finished 0, new pkt size %d\n", video.want_frame, packet->size);
    if (video.codec->codec_id == AV_CODEC_ID_H264 && packet->size < 1)
        return trace_done();
    return std::nullopt;
}

// A packet is used up without a picture: a still image, PNG above all, gets its delayed picture here. A source of
// unknown length counts as one frame, too; where its codec cannot be drained now, reading drains it at its end.
bool may_hold_still(const Video& video) {
    const bool is_still = video.frame_count <= 1 || video.codec->codec_id == AV_CODEC_ID_PNG;
    return is_still && can_drain_after_packet(video);
}

// The second step: the picture that the decoder of a still image holds.
int take_still(Source& source, imio_picture* picture, const AVPacket& packet) {
    const Video& video = source.video;
    if (!may_hold_still(video)) {
        trace(TraceSwitch::read, kTag, L"\tframe %d: not decoded, key %d\n", video.want_frame,
              packet.flags & AV_PKT_FLAG_KEY);
        return QMIO_NO_PICTURE;
    }
    bool got = false;
    source.reading.decoder.decode(source.reading.pFrame.get(), got, nullptr);
    trace_decoded(video, got, 0, &packet);
    return got ? finish_picture(source, picture, &packet) : trace_done();
}

}  // namespace

int field_result(const AVFrame& frame) {
    if (ffmpeg::is_top_field_first(frame))
        return QMIO_PICTURE_TOP_FIELD_FIRST;
    return ffmpeg::is_interlaced(frame) ? QMIO_PICTURE_BOTTOM_FIELD_FIRST : QMIO_PICTURE_PROGRESSIVE;
}

bool can_drain_after_packet(const Video& video) {
    if (video.codec->codec_id == AV_CODEC_ID_PNG || (video.stream != nullptr && video.stream->nb_frames == 1))
        return true;
    const AVCodecDescriptor* descriptor = avcodec_descriptor_get(video.codec->codec_id);
    return descriptor != nullptr && (descriptor->props & AV_CODEC_PROP_INTRA_ONLY) != 0;
}

int decode_packet(Source& source, imio_picture* picture, AVPacket* packet) {
    const Video& video = source.video;
    if (const int result = check_arguments(source, picture, packet); result != QMIO_NO_PICTURE)
        return result;
    if (video.want_frame == video.have_frame && video.frame_count == 1)
        return trace_error(L"single frame", QMIO_PICTURE_HELD);
    trace(TraceSwitch::read, kTag, L"\t*** want frame %d, have frame %d, key %d, size %d, pts %I64d dts %I64d\n",
          video.want_frame, video.have_frame, packet != nullptr ? packet->flags & AV_PKT_FLAG_KEY : 0,
          packet != nullptr ? packet->size : 0, packet != nullptr ? packet->pts : AV_NOPTS_VALUE,
          packet != nullptr ? packet->dts : AV_NOPTS_VALUE);
    if (packet == nullptr || packet->size > 0)
        if (const std::optional<int> result = feed(source, picture, packet))
            return *result;
    return take_still(source, picture, *packet);
}

int deliver_kept(Source& source, imio_picture* picture) {
    if (!source.reading.decoder.take_kept(source.reading.pFrame.get()))
        return QMIO_NO_PICTURE;
    return finish_picture(source, picture, nullptr);
}

}  // namespace qmio::read
