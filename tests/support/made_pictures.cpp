#include "support/made_pictures.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "support/numbered_picture.h"

namespace qmio::test {

namespace {

constexpr int kBgra = 30;

void paint(uint8_t* pixel, int x, int y, int number, int bit) {
    const bool white = bit >= 0 && bit_is_white(number, bit);
    pixel[0] = bit >= 0 ? (white ? 255 : 0) : static_cast<uint8_t>(x * 3 + number * 11);
    pixel[1] = bit >= 0 ? pixel[0] : static_cast<uint8_t>(y * 5 + number * 3);
    pixel[2] = bit >= 0 ? pixel[0] : static_cast<uint8_t>((x + y) * 2 + number * 7);
    pixel[3] = 255;
}

Bytes bgra_picture(int number, int width, int height) {
    Bytes pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    uint8_t* pixel = pixels.data();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x, pixel += 4)
            paint(pixel, x, y, number, bit_at(x, y, width, height));
    return pixels;
}

// Between -1 and 1: a tone of its own for every channel and seed, and a little noise that marks the place.
double value_at(int seed, int channel, int64_t at) {
    const uint32_t mixed = (static_cast<uint32_t>(at) * 2654435761U + static_cast<uint32_t>(seed * 31 + channel)) >> 16;
    const double tone =
        std::sin(2 * std::numbers::pi * (110.0 * (1 + channel) + 17.0 * seed) * static_cast<double>(at) / 48000);
    return 0.6 * tone + 0.05 * (static_cast<double>(mixed) / 32768 - 1);
}

template <class Sample>
void store(uint8_t* target, Sample sample) {
    std::memcpy(target, &sample, sizeof sample);
}

void store_value(uint8_t* target, AVSampleFormat format, double value) {
    switch (av_get_packed_sample_fmt(format)) {
        case AV_SAMPLE_FMT_U8:
            return store(target, static_cast<uint8_t>(std::lround(128 + 120 * value)));
        case AV_SAMPLE_FMT_S16:
            return store(target, static_cast<int16_t>(std::lround(30000 * value)));
        case AV_SAMPLE_FMT_S32:
            return store(target, static_cast<int32_t>(std::lround(30000 * value)) * 65536);
        case AV_SAMPLE_FMT_FLT:
            return store(target, static_cast<float>(value));
        default:
            return store(target, value);
    }
}

}  // namespace

PictureMaker::PictureMaker(const std::string& format, int width, int height)
    : format_(qmio_fmtid(format.c_str())), width_(width), height_(height) {}

std::size_t PictureMaker::size(int alignment) const {
    uint8_t* planes[4] = {};
    int lines[4] = {};
    return static_cast<std::size_t>(
        qmio_image_fill_arrays(planes, lines, nullptr, format_, width_, height_, alignment));
}

Bytes PictureMaker::picture(int number) const {
    const Bytes source = bgra_picture(number, width_, height_);
    Bytes pixels(size());
    qmio_cvt(pixels.data(), format_, source.data(), kBgra, width_, height_);
    return pixels;
}

Bytes PictureMaker::aligned_picture(int number, int alignment) const {
    Bytes source = bgra_picture(number, width_, height_);
    Bytes pixels(size(alignment), 0xA5);
    imio_picture from = record_of(source);
    imio_picture to = record_of(pixels, alignment);
    from.format = kBgra;
    to.format = format_;
    from.width = to.width = width_;
    from.height = to.height = height_;
    imio_cvt(&to, &from);
    return pixels;
}

imio_picture record_of(Bytes& pixels, int alignment) {
    imio_picture picture{};
    picture.data = pixels.data();
    picture.alignment = alignment;
    return picture;
}

int SoundMaker::block() const {
    return form_.channels * av_get_bytes_per_sample(form_.format);
}

Bytes SoundMaker::samples(int64_t first, int count) const {
    return samples_until(first + count, first, count);
}

Bytes SoundMaker::samples_until(int64_t end, int64_t first, int count) const {
    const std::size_t bytes = static_cast<std::size_t>(av_get_bytes_per_sample(form_.format));
    const std::size_t channels = static_cast<std::size_t>(form_.channels);
    const std::size_t samples = static_cast<std::size_t>(count);
    const bool planar = av_sample_fmt_is_planar(form_.format) != 0;
    Bytes sound(samples * channels * bytes);
    for (std::size_t channel = 0; channel < channels; ++channel)
        for (std::size_t sample = 0; sample < samples; ++sample) {
            const std::size_t place = planar ? channel * samples + sample : sample * channels + channel;
            const int64_t at = first + static_cast<int64_t>(sample);
            store_value(&sound[place * bytes], form_.format,
                        at < end ? value_at(seed_, static_cast<int>(channel), at) : 0);
        }
    return sound;
}

Writer::Writer(const std::filesystem::path& path, const std::string& options, uint32_t flags)
    : media_(qmio_create_ex_w(wide_name(path).c_str(), wide_text(options).c_str(), flags)) {}

int Writer::write_picture(const PictureMaker& maker, int number) const {
    return qmio_write_frame(handle(), maker.picture(number).data());
}

int Writer::write_sound(int track, const Bytes& samples) const {
    return qmio_write_track(handle(), track, samples.data(), static_cast<int>(samples.size()));
}

void write_pictures(const Writer& writer, const PictureMaker& maker, int pictures) {
    for (int number = 0; number < pictures; ++number)
        writer.write_picture(maker, number);
}

std::wstring wide_text(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace qmio::test
