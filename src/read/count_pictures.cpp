#include "read/count_pictures.h"

#include <limits>
#include <string_view>
#include <utility>

#include "core/process/trace.h"
#include "read/number_pictures.h"
#include "read/open.h"
#include "read/position.h"

namespace qmio::read {

namespace {

using Look = ffmpeg::PacketPictures::Look;

// Other streams are left out while the packets of one are counted, and wanted again afterwards.
class OneStream {
  public:
    OneStream(AVFormatContext& context, int stream) : context_(context) {
        for (unsigned index = 0; index < context.nb_streams; ++index) {
            before_.push_back(context.streams[index]->discard);
            if (static_cast<int>(index) != stream)
                context.streams[index]->discard = AVDISCARD_ALL;
        }
    }
    OneStream(const OneStream&) = delete;
    OneStream& operator=(const OneStream&) = delete;
    ~OneStream() {
        for (std::size_t index = 0; index < before_.size(); ++index)
            context_.streams[index]->discard = before_[index];
    }

  private:
    AVFormatContext& context_;
    std::vector<AVDiscard> before_;
};

// A still picture and a sequence of pictures in files of their own tell their number; devices and live streams have no end.
bool can_go_back(const AVFormatContext& context) {
    const bool is_files_of_pictures = std::string_view(context.iformat->name) == "image2";
    if (context.pb == nullptr || is_files_of_pictures || (context.ctx_flags & AVFMTCTX_UNSEEKABLE) != 0)
        return false;
    return (context.pb->seekable & AVIO_SEEKABLE_NORMAL) != 0;
}

bool is_countable(const MediaHandle& handle) {
    return handle.video.stream != nullptr && indexed_frames(handle.container) == 0 &&
           can_go_back(*handle.container.format_ctx);
}

CountedPacket counted(const AVPacket& packet, ffmpeg::PacketPictures& pictures) {
    CountedPacket counted;
    counted.packet.pts = packet.pts;
    counted.packet.dts = packet.dts;
    counted.packet.position = packet.pos;
    counted.packet.key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    counted.picture = pictures.look(packet);
    return counted;
}

// Reads to the end, or to where the input is damaged beyond reading.
std::vector<CountedPacket> read_packets(AVFormatContext& context, const AVStream& stream, Look look) {
    std::vector<CountedPacket> packets;
    const OneStream only(context, stream.index);
    ffmpeg::PacketPictures pictures(stream, look);
    const ffmpeg::PacketPtr packet(av_packet_alloc());
    while (packet != nullptr && packets.size() < std::numeric_limits<int32_t>::max() &&
           av_read_frame(&context, packet.get()) >= 0) {
        if (packet->stream_index == stream.index)
            packets.push_back(counted(*packet, pictures));
        av_packet_unref(packet.get());
    }
    return packets;
}

// As if nothing had been read.
bool go_back(MediaHandle& handle) {
    Source source(handle);
    const ffmpeg::StreamClock clock = handle.container.clock;
    const bool moved = handle.container.moved;
    const int32_t wanted = handle.video.want_frame;
    const bool went = position_at_start(source);
    handle.container.clock = clock;
    handle.container.moved = moved;
    handle.video.want_frame = wanted;
    return went;
}

}  // namespace

bool count_pictures(MediaHandle& handle) {
    if (!is_countable(handle))
        return true;
    Video& video = handle.video;
    AVFormatContext& context = *handle.container.format_ctx;
    const AVCodecID codec = video.stream->codecpar->codec_id;
    std::vector<CountedPacket> packets = read_packets(context, *video.stream, Look::where_needed);
    if (lacks_order(packets, codec)) {
        if (!go_back(handle))
            return false;
        packets = read_packets(context, *video.stream, Look::everywhere);
    }
    auto pictures = std::make_shared<const CountedPictures>(number_pictures(std::move(packets), codec));
    trace(TraceSwitch::open, kOpenTag, L"counted %d pictures, %d by their times\n", pictures->count(),
          video.frame_count);
    if (pictures->count() > 0) {
        video.frame_count = pictures->count();
        video.counted = std::move(pictures);
        video.frame_count_origin = FrameCountOrigin::counted;
    }
    return go_back(handle);
}

}  // namespace qmio::read
