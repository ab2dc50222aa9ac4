// Option strings: one text of key=value pairs, read by open, create and remux.
//
// Pairs stand behind one another, separated by ',', a line feed or blanks. A value in double quotes keeps its commas
// and blanks. A line that begins with '#', '/' or ';' is a comment. Keys are case-sensitive. A carriage return belongs
// to the key or value that it follows. Any function here takes a null option string as one without pairs.
#pragma once

#include <cstdint>
#include <string>

#include "ffmpeg/owners.h"

namespace qmio {

// A key or value beyond this many characters is cut, the rest of it skipped.
inline constexpr int kMaxOptionText = 511;

struct Token {
    char key[kMaxOptionText + 1] = {};
    char value[kMaxOptionText + 1] = {};
};

// Reads one pair from `position` and returns where the next one begins; null for a null position. A pair without a key
// comes out of blanks, comments and doubled commas. The text is used up when the result points at its NUL.
const char* next_token(const char* position, Token& token);

// Calls `visit` with every pair in order.
template <class Visitor>
void for_each_option(const char* options, Visitor&& visit) {
    Token token;
    while (options != nullptr && *options != '\0') {
        options = next_token(options, token);
        visit(static_cast<const Token&>(token));
    }
}

// Copies the value of the first pair with exactly this key. False, and `value` untouched, when there is none or an
// argument is null.
bool find_value(const char* options, const char* key, std::string& value);

// The same value by the number syntax; 0 when there is none.
int32_t find_number(const char* options, const char* key);

// Number syntax: a decimal floating-point number, times 1000 for a 'k' anywhere in the text, times 1000^2 for an 'M',
// 1000^3 for a 'G' (1024 instead of 1000 when there is an 'i'), cut to a whole number, then times 8 for a 'B'.
// Independent of the host's locale. What leaves the 32 bits ends at their limits; what is no number, and null, is 0.
int32_t read_number(const char* text);

// The whole number at the start of the text: blanks, a sign, digits. Saturating like the one above; 0 when there is
// none.
int32_t read_integer(const char* text);

// Each of these adds the pairs that fit the FFmpeg object to the dictionary; a later pair replaces an earlier one with
// the same key. "key:v" means video and "key:a" audio. Keys that describe the new file itself (creation_keys.h) are
// never among them.
void add_format_options(AVFormatContext& context, ffmpeg::Dictionary& dictionary, const char* options);
void add_video_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options);
void add_audio_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options);
void add_video_decoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options);

// The value of "metadata" is an option string of its own: its pairs are set into `*dictionary`, which FFmpeg makes when
// it is null (a context's or stream's metadata, or Dictionary::address()).
void add_metadata(AVDictionary** dictionary, const char* options);

// Sets "timecode" into `*dictionary` when the options hold it.
void add_timecode(AVDictionary** dictionary, const char* options);

// One line per entry under the options trace; nothing for null.
void dump_dictionary(const AVDictionary* dictionary, const wchar_t* tag);
inline void dump_dictionary(const ffmpeg::Dictionary& dictionary, const wchar_t* tag) {
    dump_dictionary(dictionary.entries(), tag);
}

}  // namespace qmio
