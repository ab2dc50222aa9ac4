// Owners of FFmpeg objects: unique_ptr with one stateless deleter, so that everything half-built is safe to drop.
#pragma once

#include <memory>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

struct Deleter {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
    void operator()(SwsContext* context) const { sws_freeContext(context); }
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    void operator()(SwrContext* context) const { swr_free(&context); }
    // A muxer's output is closed before, by who wants to know what became of it; here it is where that came to nothing.
    void operator()(AVFormatContext* context) const {
        if (context->iformat != nullptr)
            return avformat_close_input(&context);
        const bool is_own = context->oformat != nullptr && (context->oformat->flags & AVFMT_NOFILE) == 0 &&
                            (context->flags & AVFMT_FLAG_CUSTOM_IO) == 0;
        if (is_own)
            avio_closep(&context->pb);
        avformat_free_context(context);
    }
    // FFmpeg may have replaced the buffer that the context was made with, so the one it holds now is freed.
    void operator()(AVIOContext* context) const {
        av_freep(&context->buffer);
        avio_context_free(&context);
    }
};

// A block of FFmpeg's allocator.
struct BlockDeleter {
    void operator()(void* block) const { av_free(block); }
};

using PacketPtr = std::unique_ptr<AVPacket, Deleter>;
using FramePtr = std::unique_ptr<AVFrame, Deleter>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, Deleter>;
using FormatContextPtr = std::unique_ptr<AVFormatContext, Deleter>;
using CustomIoPtr = std::unique_ptr<AVIOContext, Deleter>;
using ScalerPtr = std::unique_ptr<SwsContext, Deleter>;
using ParserPtr = std::unique_ptr<AVCodecParserContext, Deleter>;
using AudioFifoPtr = std::unique_ptr<AVAudioFifo, Deleter>;
using ResamplerPtr = std::unique_ptr<SwrContext, Deleter>;
using BlockPtr = std::unique_ptr<uint8_t, BlockDeleter>;

// A channel layout of our own.
class ChannelLayout {
  public:
    explicit ChannelLayout(const AVChannelLayout& layout) { av_channel_layout_copy(&layout_, &layout); }
    ChannelLayout(const ChannelLayout&) = delete;
    ChannelLayout& operator=(const ChannelLayout&) = delete;
    ~ChannelLayout() { av_channel_layout_uninit(&layout_); }

    void copy_to(AVChannelLayout& target) const { av_channel_layout_copy(&target, &layout_); }

  private:
    AVChannelLayout layout_ = {};
};

// A block that only ever grows, with what it held forgotten.
class Block {
  public:
    // Null when memory is short.
    uint8_t* at_least(std::size_t size) {
        if (size_ < size) {
            bytes_.reset(static_cast<uint8_t*>(av_malloc(size)));
            size_ = bytes_ != nullptr ? size : 0;
        }
        return bytes_.get();
    }
    std::size_t size() const { return size_; }

  private:
    BlockPtr bytes_;
    std::size_t size_ = 0;
};

// An option or metadata dictionary; FFmpeg's functions take its address and may replace or empty it.
class Dictionary {
  public:
    Dictionary() = default;
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    Dictionary(Dictionary&& other) noexcept : entries_(other.release()) {}
    Dictionary& operator=(Dictionary&& other) noexcept {
        if (this != &other) {
            av_dict_free(&entries_);
            entries_ = other.release();
        }
        return *this;
    }
    ~Dictionary() { av_dict_free(&entries_); }

    Dictionary copy() const {
        Dictionary twin;
        av_dict_copy(&twin.entries_, entries_, 0);
        return twin;
    }

    void set(const char* key, const char* value) { av_dict_set(&entries_, key, value, 0); }
    void set_default(const char* key, const char* value) {
        av_dict_set(&entries_, key, value, AV_DICT_DONT_OVERWRITE | AV_DICT_MATCH_CASE);
    }
    const char* get(const char* key) const {
        const AVDictionaryEntry* entry = av_dict_get(entries_, key, nullptr, AV_DICT_MATCH_CASE);
        return entry != nullptr ? entry->value : nullptr;
    }
    const AVDictionary* entries() const { return entries_; }
    AVDictionary** address() { return &entries_; }
    AVDictionary* release() {
        AVDictionary* entries = entries_;
        entries_ = nullptr;
        return entries;
    }

  private:
    AVDictionary* entries_ = nullptr;
};

}  // namespace qmio::ffmpeg
