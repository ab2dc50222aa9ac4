#include "support/plain_file.h"

#include "support/temp_dir.h"

namespace qmio::test {

namespace {

void receive_all(AVCodecContext& codec, std::vector<Frame>& pictures) {
    for (;;) {
        Frame picture(av_frame_alloc());
        if (avcodec_receive_frame(&codec, picture.get()) < 0)
            return;
        pictures.push_back(std::move(picture));
    }
}

}  // namespace

Container open_plainly(const std::filesystem::path& path) {
    AVFormatContext* container = nullptr;
    if (avformat_open_input(&container, utf8(path).c_str(), nullptr, nullptr) < 0)
        return nullptr;
    Container opened(container);
    return avformat_find_stream_info(container, nullptr) < 0 ? nullptr : std::move(opened);
}

std::vector<Packet> packets_of(const std::filesystem::path& path, int stream) {
    std::vector<Packet> packets;
    const Container container = open_plainly(path);
    for (Packet packet(av_packet_alloc()); container != nullptr && av_read_frame(container.get(), packet.get()) >= 0;
         packet.reset(av_packet_alloc()))
        if (packet->stream_index == stream)
            packets.push_back(std::move(packet));
    return packets;
}

std::vector<Frame> pictures_of(const std::filesystem::path& path) {
    std::vector<Frame> pictures;
    const Container container = open_plainly(path);
    if (container == nullptr)
        return pictures;
    const AVCodec* decoder = nullptr;
    const int index = av_find_best_stream(container.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
    const Codec codec(avcodec_alloc_context3(decoder));
    if (index < 0 || avcodec_parameters_to_context(codec.get(), container->streams[index]->codecpar) < 0 ||
        avcodec_open2(codec.get(), decoder, nullptr) < 0)
        return pictures;
    const Packet packet(av_packet_alloc());
    while (av_read_frame(container.get(), packet.get()) >= 0) {
        if (packet->stream_index == index && avcodec_send_packet(codec.get(), packet.get()) >= 0)
            receive_all(*codec, pictures);
        av_packet_unref(packet.get());
    }
    avcodec_send_packet(codec.get(), nullptr);
    receive_all(*codec, pictures);
    return pictures;
}

}  // namespace qmio::test
