// Options on their way to FFmpeg: each pass takes the pairs that one kind of object of FFmpeg's knows.
#pragma once

#include "core/text/options.h"
#include "ffmpeg/owners.h"

namespace qmio {

// Each of these adds the pairs that fit the FFmpeg object to the dictionary; a later pair replaces an earlier one with
// the same key. "key:v" means video and "key:a" audio.
void add_format_options(AVFormatContext& context, ffmpeg::Dictionary& dictionary, const Options& options);
void add_demuxer_options(const AVInputFormat& demuxer, ffmpeg::Dictionary& dictionary, const Options& options);
void add_protocol_options(const std::string& url, ffmpeg::Dictionary& dictionary, const Options& options);
void add_video_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options);
void add_audio_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options);
void add_video_decoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const Options& options);

// One line per entry under the options trace; nothing for null.
void dump_dictionary(const AVDictionary* dictionary, const wchar_t* tag);
inline void dump_dictionary(const ffmpeg::Dictionary& dictionary, const wchar_t* tag) {
    dump_dictionary(dictionary.entries(), tag);
}

}  // namespace qmio
