#include "core/text/option_string.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "core/process/trace.h"
#include "core/text/creation_keys.h"

namespace qmio {
namespace {

// Bits that an option of FFmpeg must carry to be taken.
constexpr int kAnyOption = 0;
constexpr int kVideoEncoding = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;
constexpr int kAudioEncoding = AV_OPT_FLAG_ENCODING_PARAM | AV_OPT_FLAG_AUDIO_PARAM;
constexpr int kVideoDecoding = AV_OPT_FLAG_DECODING_PARAM | AV_OPT_FLAG_VIDEO_PARAM;

bool is_one_of(char character, const char* characters) {
    return character != '\0' && std::strchr(characters, character) != nullptr;
}

const char* skip(const char* position, const char* characters) {
    while (is_one_of(*position, characters))
        ++position;
    return position;
}

const char* skip_to(const char* position, const char* ends) {
    while (*position != '\0' && !is_one_of(*position, ends))
        ++position;
    return position;
}

const char* skip_comments(const char* position) {
    while (is_one_of(*position, "#/;"))
        position = skip(skip_to(position, "\r\n"), "\r\n");
    return position;
}

// Copies [begin, end), cut at the buffer's end.
void copy_text(char (&target)[kMaxOptionText + 1], const char* begin, const char* end) {
    const auto length = static_cast<size_t>(std::min<ptrdiff_t>(end - begin, kMaxOptionText));
    std::memcpy(target, begin, length);
    target[length] = '\0';
}

const char* read_quoted(const char* position, Token& token) {
    const char* end = skip_to(position, "\"");
    copy_text(token.value, position, end);
    return *end == '"' ? end + 1 : end;
}

const char* read_value(const char* position, Token& token) {
    if (*position == '"')
        return read_quoted(position + 1, token);
    const char* end = skip_to(position, "\t\n ,");
    copy_text(token.value, position, end);
    return end;
}

bool holds(const char* text, char letter) {
    return std::strchr(text, letter) != nullptr;
}

// What the letters of the number syntax multiply by.
double multiplier(const char* text) {
    const double base = holds(text, 'i') ? 1024 : 1000;
    double product = 1;
    if (holds(text, 'k'))
        product *= base;
    if (holds(text, 'M'))
        product *= base * base;
    if (holds(text, 'G'))
        product *= base * base * base;
    return product;
}

// from_chars is the one reader of numbers that knows no locale; it takes neither leading blanks nor a plus sign.
const char* skip_to_number(const char* text) {
    text = skip(text, " \t\r\n\v\f");
    return text[0] == '+' && text[1] != '-' ? text + 1 : text;
}

// Of a number that fits no double: true when it is too small, not too large.
bool is_tiny(std::string_view number) {
    const size_t mark = std::min(number.find_first_of("eE"), number.size());
    const size_t point = std::min(number.find('.'), mark);
    const size_t digit = number.find_first_of("123456789");
    // How many digits the value has before its point, below 0 for zeros behind it; the notation's exponent moves that.
    const auto places = static_cast<ptrdiff_t>(point) - static_cast<ptrdiff_t>(digit);
    return places + read_integer(std::string(number.substr(std::min(mark + 1, number.size()))).c_str()) < 0;
}

double read_decimal(const char* text) {
    text = skip_to_number(text);
    double number = 0;
    const auto [stop, error] = std::from_chars(text, text + std::strlen(text), number);
    if (error != std::errc::result_out_of_range)
        return std::isfinite(number) ? number : 0;
    if (is_tiny(std::string_view(text, static_cast<size_t>(stop - text))))
        return 0;
    return *text == '-' ? -std::numeric_limits<double>::max() : std::numeric_limits<double>::max();
}

int32_t saturate(double number) {
    using Limits = std::numeric_limits<int32_t>;
    return static_cast<int32_t>(std::clamp<double>(number, Limits::min(), Limits::max()));
}

// Cuts "key:v" and "key:a" at the colon. False when the suffix names a kind of stream that the pass is not for.
bool cut_stream_suffix(std::string& key, int filter) {
    const size_t colon = key.find(':');
    if (colon == key.npos)
        return true;
    const std::string suffix = key.substr(colon + 1);
    key.resize(colon);
    return (suffix == "v" && (filter & AV_OPT_FLAG_VIDEO_PARAM) != 0) ||
           (suffix == "a" && (filter & AV_OPT_FLAG_AUDIO_PARAM) != 0);
}

// Adds every pair whose key is an option of `object` that carries all bits of `filter`.
void add_known_options(void* object, ffmpeg::Dictionary& dictionary, const char* options, int filter,
                       int search_flags) {
    for_each_option(options, [&](const Token& token) {
        // FFmpeg has options named "ar" and "ac" too; handed on, one track's would end up in all of them. The same with a
        // suffix ("ar:a"), which no longer names a track.
        if (creation_key(token.key) != CreationKey::none)
            return;
        std::string key = token.key;
        if (!cut_stream_suffix(key, filter) || creation_key(key) != CreationKey::none)
            return;
        const AVOption* option = av_opt_find(object, key.c_str(), nullptr, 0, search_flags);
        if (option != nullptr && (option->flags & filter) == filter)
            dictionary.set(key.c_str(), token.value);
    });
}

// Calls `visit` with the value of every pair that has this key.
template <class Visitor>
void for_each_value(const char* options, std::string_view key, Visitor&& visit) {
    for_each_option(options, [&](const Token& token) {
        if (token.key == key)
            visit(token.value);
    });
}

}  // namespace

const char* next_token(const char* position, Token& token) {
    token.key[0] = token.value[0] = '\0';
    if (position == nullptr)
        return nullptr;
    position = skip(position, " \t\r\n");
    position = skip_comments(position);
    position = skip(position, " \t");
    const char* key_end = skip_to(position, "=\t\n ,");
    copy_text(token.key, position, key_end);
    position = read_value(skip(key_end, " \t="), token);
    position = skip(position, " \t");
    return is_one_of(*position, ",\n") ? position + 1 : position;
}

bool find_value(const char* options, const char* key, std::string& value) {
    if (key == nullptr)
        return false;
    Token token;
    while (options != nullptr && *options != '\0') {
        options = next_token(options, token);
        if (std::strcmp(token.key, key) == 0) {
            value = token.value;
            return true;
        }
    }
    return false;
}

int32_t find_number(const char* options, const char* key) {
    std::string value;
    return find_value(options, key, value) ? read_number(value.c_str()) : 0;
}

int32_t read_number(const char* text) {
    if (text == nullptr)
        return 0;
    const int32_t number = saturate(read_decimal(text) * multiplier(text));
    return holds(text, 'B') ? saturate(number * 8.0) : number;
}

int32_t read_integer(const char* text) {
    if (text == nullptr)
        return 0;
    text = skip_to_number(text);
    int32_t number = 0;
    const auto result = std::from_chars(text, text + std::strlen(text), number);
    if (result.ec != std::errc::result_out_of_range)
        return number;
    return *text == '-' ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
}

void add_format_options(AVFormatContext& context, ffmpeg::Dictionary& dictionary, const char* options) {
    add_known_options(&context, dictionary, options, kAnyOption, AV_OPT_SEARCH_CHILDREN);
    // Options of demuxers that do not exist yet when the options are read: capture devices, raw video.
    for_each_option(options, [&](const Token& token) {
        for (const std::string_view key : {"video_size", "pixel_format", "framerate"})
            if (token.key == key)
                dictionary.set(token.key, token.value);
    });
}

void add_video_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options) {
    add_known_options(&context, dictionary, options, kVideoEncoding, AV_OPT_SEARCH_CHILDREN);
}

void add_audio_encoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options) {
    // Unlike video, an audio encoder's private options are not searched; hosts rely on the difference.
    add_known_options(&context, dictionary, options, kAudioEncoding, 0);
}

void add_video_decoder_options(AVCodecContext& context, ffmpeg::Dictionary& dictionary, const char* options) {
    add_known_options(&context, dictionary, options, kVideoDecoding, 0);
}

void add_metadata(AVDictionary** dictionary, const char* options) {
    for_each_value(options, "metadata", [&](const char* inner) {
        for_each_option(inner, [&](const Token& token) {
            if (token.key[0] != '\0')  // left over from blanks and doubled commas: no tag
                av_dict_set(dictionary, token.key, token.value, 0);
        });
    });
}

void add_timecode(AVDictionary** dictionary, const char* options) {
    for_each_value(options, "timecode", [&](const char* value) { av_dict_set(dictionary, "timecode", value, 0); });
}

void dump_dictionary(const AVDictionary* dictionary, const wchar_t* tag) {
    const AVDictionaryEntry* entry = nullptr;
    while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        trace(TraceSwitch::options, tag, L"\t[%S] = [%S]\n", entry->key, entry->value);
}

}  // namespace qmio
