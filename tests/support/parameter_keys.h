// Every key of the parameters.
#pragma once

#include <cctype>
#include <string>
#include <vector>

namespace qmio::test {

// Of qmio_get_file_info, but for those that need no handle.
inline const std::vector<std::string> kTextKeys = {"fmt",    "fdescr", "ofmt",   "ofdescr", "codec",
                                                   "cdescr", "pix",    "pdescr", "acodec",  "acdescr"};

// Of qmio_get_file_param alone.
inline const std::vector<std::string> kFileKeys = {
    "check",      "error",          "write_error",  "dts_frame",  "sample_rate",
    "audio_rate", "sample_fmt_id",  "audio_fmt_id", "sample_fmt", "audio_fmt",
    "channels",   "audio_channels", "xfmt",         "xvcodec",    "xacodec",
    "xvstream",   "audio_map",      "vb",           "ab"};

// Of qmio_get_file_param and of qmio_get_stream_param.
inline const std::vector<std::string> kSharedKeys = {
    "width",          "height",         "frames",  "nvideo",  "naudio",   "video",        "audio",     "fmt",
    "codec",          "acodec",         "pix",     "start",   "align",    "packet",       "interlace", "top_field",
    "frame_rate_num", "frame_rate_den", "sar_num", "sar_den", "rotation", "frames_origin"};

// Those of them that qmio_get_stream_param answers about one track.
inline const std::vector<std::string> kSharedTrackKeys = {"audio", "acodec", "align"};

// Of qmio_get_stream_param alone, about one track.
inline const std::vector<std::string> kTrackKeys = {"apts",
                                                    "sample_rate",
                                                    "file_sample_rate",
                                                    "audio_rate",
                                                    "user_sample_rate",
                                                    "sample_fmt_id",
                                                    "file_sample_format",
                                                    "audio_fmt_id",
                                                    "user_sample_format",
                                                    "sample_fmt",
                                                    "file_sample_fmt",
                                                    "audio_fmt",
                                                    "user_sample_fmt",
                                                    "channels",
                                                    "file_channels",
                                                    "audio_channels",
                                                    "user_channels"};

// Of qmio_get_stream_param, about the streams; "gop" and "set_gop" aside.
inline const std::vector<std::string> kStreamKeys = {"vpts",     "frame_type", "frame_num", "frame_pos",
                                                     "pkt_size", "par",        "sar",       "dar"};

// Of both, about any part of the file.
inline const std::vector<std::string> kPartKeys = {"duration_us", "start_us", "bit_rate", "bits_per_raw_sample",
                                                   "channel_mask"};

// Of qmio_get_text, about the container, the video and a track; tags aside.
inline const std::vector<std::string> kContainerTextKeys = {"format", "format_long", "timecode", "tags"};
inline const std::vector<std::string> kVideoTextKeys = {
    "codec",          "codec_long",  "codec_tag",   "profile",         "pix_fmt",  "field_order", "color_primaries",
    "color_transfer", "color_space", "color_range", "chroma_location", "timecode", "tags"};
inline const std::vector<std::string> kTrackTextKeys = {"codec",      "codec_long",     "codec_tag", "profile",
                                                        "sample_fmt", "channel_layout", "timecode",  "tags"};

inline const std::vector<std::string> kTimeKeys = {"video", "audio", "packet", "seek", "key", "dur"};

inline std::string in_capitals(std::string key) {
    for (char& letter : key)
        letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    return key;
}

}  // namespace qmio::test
