// Sound at 48 kHz, 16-bit stereo: the library against a plain loop of FFmpeg and libswresample over the same files.
#include <stdexcept>

#include "media.h"
#include "plain_sound.h"
#include "rows.h"

namespace bench {

namespace {

constexpr int kChannels = 2;
constexpr int kRate = 48000;
constexpr std::size_t kRoom = 1 << 20;
constexpr double kSeconds = 180;

struct File {
    const char* name;
    std::string path;
};
const File kFiles[] = {{"AAC, stereo", bench_file("stereo.m4a")},
                       {"AC-3, 5.1", bench_file("surround.ac3")},
                       {"PCM 24", bench_file("pcm24.wav")}};

Media open_sound(const std::string& path) {
    Media media = open_media(path);
    if (qmio_set_dst_audio(media.get(), kChannels, kRate, 16) == 0)
        throw std::runtime_error("no sound in " + path);
    return media;
}

// Calls `use` with every piece of the file's sound.
template <class Use>
void deliver(MediaHandle* media, std::vector<uint8_t>& buffer, Use&& use) {
    for (int kind = qmio_get_frame(media); kind >= 0; kind = qmio_get_frame(media)) {
        int bytes = 0;
        while (kind == QMIO_PACKET_AUDIO && (bytes = qmio_audio_frame(media, buffer.data())) > 0)
            use(buffer.data(), bytes);
        qmio_release_frame(media);
    }
}

// Fast wrong samples are worth nothing.
std::string compare_samples(const std::string& path) {
    std::vector<uint8_t> ours;
    std::vector<uint8_t> theirs;
    std::vector<uint8_t> buffer(kRoom);
    const Media media = open_sound(path);
    deliver(media.get(), buffer, [&](const uint8_t* data, int bytes) { ours.insert(ours.end(), data, data + bytes); });
    PlainSound plain(path, kChannels, kRate);
    for (int bytes = plain.next(); bytes > 0; bytes = plain.next())
        theirs.insert(theirs.end(), plain.samples(), plain.samples() + bytes);
    if (ours != theirs)
        throw std::runtime_error(path + " sounds different from the plain loop");
    return "";
}

Contender library_sound(const std::string& path) {
    return {kLibrary,
            [path]() -> Job {
                const std::shared_ptr<MediaHandle> media = open_sound(path);
                return [media, buffer = std::vector<uint8_t>(kRoom)]() mutable {
                    deliver(media.get(), buffer, [](const uint8_t*, int) {});
                };
            },
            [path] { return compare_samples(path); }};
}

Contender plain_sound(const std::string& path) {
    return {kPlain,
            [path]() -> Job {
                const auto plain = std::make_shared<PlainSound>(path, kChannels, kRate);
                return [plain] {
                    while (plain->next() > 0) {
                    }
                };
            },
            {}};
}

}  // namespace

void add_sound_rows(std::vector<Row>& rows) {
    for (const File& file : kFiles)
        rows.push_back(
            {file.name, "sound in order", "seconds/s", kSeconds, {library_sound(file.path), plain_sound(file.path)}});
}

}  // namespace bench
