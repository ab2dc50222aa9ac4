#include "support/whole_sound.h"

#include <algorithm>
#include <map>

#include "support/process.h"
#include "support/temp_dir.h"

namespace qmio::test {

namespace {

std::string range_text(int64_t start, int samples) {
    return std::to_string(samples) + " samples from " + std::to_string(start) + ": ";
}

std::string difference(const HeardRange& heard, const Bytes& whole, int64_t start, int samples, int block) {
    const auto total = static_cast<int64_t>(whole.size()) / block;
    const auto expected = static_cast<int>(std::clamp<int64_t>(total - start, 0, samples));
    if (heard.result != expected)
        return range_text(start, samples) + std::to_string(heard.result) + " instead of " + std::to_string(expected);
    const auto first = whole.begin() + std::min(start, total) * block;
    const auto differs = std::mismatch(heard.bytes.begin(), heard.bytes.end(), first).first;
    return differs == heard.bytes.end()
               ? ""
               : range_text(start, samples) + "differ at " + std::to_string((differs - heard.bytes.begin()) / block);
}

}  // namespace

HeardRange hear(MediaHandle* media, int track, int64_t start, int samples) {
    const int size = qmio_read_sound(media, track, start, samples, nullptr, 0);
    if (size < 0)
        return {size, {}};
    Bytes bytes(static_cast<std::size_t>(size));
    const int result = qmio_read_sound(media, track, start, samples, bytes.data(), size);
    const std::size_t block = samples > 0 ? bytes.size() / static_cast<std::size_t>(samples) : 0;
    bytes.resize(block * static_cast<std::size_t>(std::max(result, 0)));
    return {result, bytes};
}

int choose_packed_form(MediaHandle* media, int track) {
    const auto code = static_cast<int>(qmio_get_stream_param(media, "file_sample_fmt", track));
    const auto rate = static_cast<int>(qmio_get_stream_param(media, "file_sample_rate", track));
    qmio_set_track(media, track);
    qmio_set_dst_audio(media, qmio_track_chans(media, track), rate, code == -1 ? 0 : std::abs(code));
    return std::max(qmio_read_sound(media, track, 0, 1, nullptr, 0), 0);
}

Bytes whole_sound(const std::filesystem::path& path, int track, int format_code, int rate) {
    static const std::map<int, std::string> encoders = {{8, "pcm_u8"},    {16, "pcm_s16le"}, {32, "pcm_s32le"},
                                                        {0, "pcm_f32le"}, {64, "pcm_f64le"}, {128, "pcm_s64le"}};
    const TempDir folder;
    const std::filesystem::path raw = folder / "raw";
    Arguments arguments = {"-v", "quiet", "-nostdin", "-y", "-i", utf8(path), "-map", "0:a:" + std::to_string(track)};
    if (rate > 0)
        arguments.insert(arguments.end(), {"-ar", std::to_string(rate)});
    arguments.insert(arguments.end(), {"-c:a", encoders.at(format_code), "-f", "data", utf8(raw)});
    run("ffmpeg", arguments);
    return std::filesystem::exists(raw) ? read_bytes(raw) : Bytes();
}

std::string difference_in_ranges(MediaHandle* media, int track, const Bytes& whole, int block, int ranges, Dice& dice) {
    const auto total = static_cast<int64_t>(whole.size()) / block;
    for (int number = -3; number < ranges; ++number) {
        const int samples = dice.up_to(number % 8 == 0 ? 40000 : 3000);
        const auto drawn = static_cast<int64_t>(dice.number() % static_cast<uint32_t>(total + 100));
        const int64_t start = number == -3 ? 0 : number == -2 ? std::max<int64_t>(total - samples / 2, 0) : drawn;
        std::string found = difference(hear(media, track, start, samples), whole, start, samples, block);
        if (!found.empty())
            return found;
    }
    return "";
}

}  // namespace qmio::test
