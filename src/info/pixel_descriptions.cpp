#include "info/pixel_descriptions.h"

#include <algorithm>
#include <string_view>

#include "ffmpeg/pixel_format_names.h"

namespace qmio::info {

namespace {

// The rows of the table in their order. Where a format stands twice, its first row counts.
struct Rows {
    int32_t first;
    int32_t last;
    bool is_heading;  // described with a capital first
};

constexpr Rows kRows[] = {
    {-1, -1, true},  {0, 5, true},    {30, 30, true},    {6, 7, true},      {44, 44, true},
    {46, 46, true},  {8, 18, true},   {28, 28, true},    {48, 48, true},    {50, 50, true},
    {19, 26, true},  {29, 29, true},  {27, 27, true},    {31, 118, false},  {295, 298, false},
    {90, 90, false}, {89, 89, false}, {299, 314, false}, {123, 125, false}, {315, 327, false},
};

struct Description {
    int32_t number;
    const char* text;
};

// Those that hosts know by other words than FFmpeg's, and those that FFmpeg has no words for any more.
constexpr Description kOwnWords[] = {
    {-1, "None"},
    {11, "8 bit with PIX_FMT_RGB32 palette"},
    {15, "XVideo motion compensation, MPEG-2, up to the prediction"},
    {30, "Packed RGB 8:8:8, 32bpp, (msb)8A 8R 8G 8B(lsb), in cpu endianness"},
    {36, "H.264 decoded by VDPAU, the planes hold the render state"},
    {37, "MPEG-1 decoded by VDPAU, the planes hold the render state"},
    {38, "MPEG-2 decoded by VDPAU, the planes hold the render state"},
    {39, "WMV3 decoded by VDPAU, the planes hold the render state"},
    {40, "VC-1 decoded by VDPAU, the planes hold the render state"},
    {44, "Packed RGB 5:6:5, 16bpp, (msb)   5R 6G 5B(lsb), in cpu endianness"},
    {51, "VA-API from the motion compensation on, a plane holds the surface"},
    {52, "VA-API from the inverse transform on, a plane holds the surface"},
    {60, "MPEG-4 decoded by VDPAU, the planes hold the render state"},
    {81, "decoded by Apple's VDA, a plane holds the pixel buffer"},
    {295, "packed RGB 8:8:8, 32bpp, 0RGB0RGB..."},
    {327, "bayer, GRGR..(odd line), BGBG..(even line), 16-bit samples, big-endian"},
};

struct Comment {
    std::string_view enumerator;
    const char* text;
    const char* heading;
};

constexpr Comment kComments[] = {
#include "pixel_format_comments.inc"
};

const Rows* rows_of(int32_t number) {
    const auto* found = std::find_if(std::begin(kRows), std::end(kRows),
                                     [=](const Rows& rows) { return number >= rows.first && number <= rows.last; });
    return found != std::end(kRows) ? found : nullptr;
}

const char* own_words(int32_t number) {
    for (const Description& description : kOwnWords)
        if (description.number == number)
            return description.text;
    return nullptr;
}

const Comment* comment_on(std::string_view enumerator) {
    for (const Comment& comment : kComments)
        if (comment.enumerator == enumerator)
            return &comment;
    return nullptr;
}

// The comment on any of the format's names.
const Comment* comment_on(int32_t number) {
    for (const ffmpeg::PixelFormatName& name : ffmpeg::interface_pixel_formats())
        if (name.number == number)
            if (const Comment* comment = comment_on(name.enumerator); comment != nullptr)
                return comment;
    return nullptr;
}

}  // namespace

const char* pixel_description(int32_t number) {
    const Rows* rows = rows_of(number);
    if (rows == nullptr)
        return nullptr;
    if (const char* words = own_words(number); words != nullptr)
        return words;
    const Comment* comment = comment_on(number);
    if (comment == nullptr)
        return "a format of earlier releases";
    return rows->is_heading ? comment->heading : comment->text;
}

int luma_class(int32_t number) {
    constexpr int32_t eight_bit[] = {0, 4, 5, 6, 7, 12, 13, 14, 25, 26, 33, 34, 35};
    if (std::find(std::begin(eight_bit), std::end(eight_bit), number) != std::end(eight_bit))
        return 1;
    return (number >= 54 && number <= 59) || (number >= 69 && number <= 80) ? 2 : 0;
}

int pixel_description_count() {
    int count = 0;
    for (const Rows& rows : kRows)
        count += rows.last - rows.first + 1;
    return count;
}

}  // namespace qmio::info
