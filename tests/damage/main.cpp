// damaged_files [COUNT]
//   Opens, reads, seeks and hears COUNT damaged files (a few hundred without it, 15,000 with QMIO_SWEEP=all), many in a
//   process of their own, which is followed by another where a file was its last. Prints a table; ends with 0 where every
//   file came to documented results in time.
#include <qmio.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "support/documented_results.h"
#include "support/open_media.h"
#include "support/process.h"
#include "support/seed.h"
#include "support/temp_dir.h"

namespace {

using namespace qmio::test;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;  // takes terabytes of addresses, and its time
#else
constexpr bool kIsSanitized = false;
#endif

constexpr int kSample = 240;
constexpr int kWhole = 15000;
constexpr int kBatch = 100;  // files of a process
constexpr unsigned kSecondsOfFile = kIsSanitized ? 60 : 10;
constexpr rlim_t kAddresses = rlim_t{2} << 30;
constexpr double kSlowest = 1.0;  // seconds of the processor
constexpr int kMostPackets = 400;
constexpr int64_t kMostPixels = 8192 * 4096;

struct Container {
    const char* extension;
    Arguments codecs;
};

const std::vector<Container>& containers() {
    static const std::vector<Container> all = {
        {"avi", {"-c:v", "mpeg4", "-c:a", "mp2"}},
        {"mp4", {"-c:v", "libx264", "-c:a", "aac"}},
        {"mkv", {"-c:v", "libx264", "-c:a", "flac"}},
        {"ts", {"-c:v", "mpeg2video", "-c:a", "mp2"}},
        {"mxf", {"-c:v", "mpeg2video", "-c:a", "pcm_s16le", "-ar", "48000"}},
        {"mov", {"-c:v", "mjpeg", "-c:a", "pcm_s16be"}},
        {"asf", {"-c:v", "msmpeg4", "-c:a", "wmav2"}},
        {"flv", {"-c:v", "flv", "-c:a", "adpcm_swf", "-ar", "44100"}},
    };
    return all;
}

Bytes whole_file(const TempDir& folder, const Container& container) {
    const std::string path = (folder / (std::string("whole.") + container.extension)).string();
    Arguments arguments = {"-v",       "error", "-nostdin", "-y",
                           "-f",       "lavfi", "-i",       "testsrc2=size=160x96:rate=25:duration=1",
                           "-f",       "lavfi", "-i",       "sine=sample_rate=44100:duration=1",
                           "-threads", "1"};
    arguments.insert(arguments.end(), container.codecs.begin(), container.codecs.end());
    arguments.push_back(path);
    if (run("ffmpeg", arguments).exit_code != 0) {
        std::printf("the ffmpeg program makes no %s\n", container.extension);
        std::exit(2);
    }
    return read_bytes(path);
}

// ---- Damage ----

void cut(Bytes& bytes, Dice& dice) {
    bytes.resize(dice.number() % bytes.size());
}

void flip_bits(Bytes& bytes, Dice& dice) {
    for (int flips = dice.up_to(32); flips > 0; --flips)
        bytes[dice.number() % bytes.size()] ^= static_cast<uint8_t>(1U << dice.number() % 8);
}

// Where containers keep what they say about themselves: at one end or the other.
void change_header(Bytes& bytes, Dice& dice) {
    constexpr std::size_t kReach = 2048;
    const std::size_t reach = std::min(bytes.size(), kReach);
    const std::size_t begin = dice.number() % 2 == 0 ? 0 : bytes.size() - reach;
    for (int changes = dice.up_to(8); changes > 0; --changes)
        bytes[begin + dice.number() % reach] = static_cast<uint8_t>(dice.number());
}

Bytes damaged(Bytes bytes, unsigned seed) {
    Dice dice(seed);
    constexpr std::array damages = {cut, flip_bits, change_header};
    dice.one_of(damages)(bytes, dice);
    return bytes;
}

// ---- What a host does with a file ----

// Null, or the call whose result the header does not name.
class Use {
  public:
    explicit Use(MediaHandle* media) : media_(media) {}

    const char* everything() {
        hear();
        const int64_t width = qmio_get_file_param(media_, "width"), height = qmio_get_file_param(media_, "height");
        if (width > 0 && height > 0 && width > kMostPixels / height)
            return undocumented_;
        picture_.resize(static_cast<std::size_t>(std::max<int64_t>(width * height * 4, 4)));
        read_packets();
        const int frames = static_cast<int>(std::clamp<int64_t>(qmio_get_file_param(media_, "frames"), 1, 1000));
        for (const int frame : {frames - 1, 0, frames / 2}) {
            const int result = qmio_seek_frame(media_, frame);
            note(is_seeking_result(frame, result), "qmio_seek_frame");
            read_pictures(3);
        }
        return undocumented_;
    }

  private:
    void note(bool documented, const char* call) {
        if (!documented && undocumented_ == nullptr)
            undocumented_ = call;
    }

    void hear() {
        const int64_t tracks = qmio_get_file_param(media_, "naudio");
        note(tracks >= 0 && tracks <= 16, "naudio");
        for (int track = 0; track < tracks; ++track) {
            for (const int start : {0, 20000, 100}) {
                const int bytes = qmio_read_sound(media_, track, start, 1000, nullptr, 0);
                if (bytes <= 0)
                    break;
                sound_.resize(static_cast<std::size_t>(bytes));
                const int samples = qmio_read_sound(media_, track, start, 1000, sound_.data(), bytes);
                note(samples >= QMIO_SOUND_FAILED && samples <= 1000, "qmio_read_sound");
            }
        }
    }

    void read_packets() {
        for (int packet = 0; packet < kMostPackets; ++packet) {
            const int kind = qmio_get_frame(media_);
            note(is_packet_result(kind), "qmio_get_frame");
            if (kind < 0)
                return;
            if (kind == QMIO_PACKET_VIDEO)
                note(is_decoding_result(qmio_video_frame(media_, picture_.data())), "qmio_video_frame");
            qmio_release_frame(media_);
        }
    }

    void read_pictures(int most) {
        for (int picture = 0; picture < most; ++picture) {
            const int result = qmio_read_frame(media_, picture_.data());
            note(is_reading_result(result), "qmio_read_frame");
            if (result == 0)
                return;
        }
    }

    MediaHandle* media_;
    Bytes picture_, sound_;
    const char* undocumented_ = nullptr;
};

// ---- Processes ----

struct Report {
    int files, opened, crashed, hung, undocumented;
    double slowest;
};

struct Shared {
    int next;  // file of the batch that is at work
    bool hung;
    Report report;
};

double processor_time() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Shared* shared = nullptr;

void on_alarm(int) {
    shared->hung = true;
    _exit(1);
}

void use_file(const std::string& path) {
    alarm(kSecondsOfFile);
    const double begin = processor_time();
    MediaHandle* const media = qmio_open_u8(path.c_str(), nullptr);
    const char* const undocumented = media != nullptr ? Use(media).everything() : nullptr;
    shared->report.undocumented += undocumented != nullptr || qmio_close(media) != 0;
    shared->report.opened += media != nullptr;
    shared->report.slowest = std::max(shared->report.slowest, processor_time() - begin);
    alarm(0);
}

void use_batch(const Bytes& whole, unsigned seed, int count, const std::string& path) {
    std::signal(SIGALRM, on_alarm);
    const rlimit addresses{kAddresses, kAddresses};
    if (!kIsSanitized)
        setrlimit(RLIMIT_AS, &addresses);
    for (; shared->next < count; ++shared->next) {
        write_bytes(path, damaged(whole, seed + static_cast<unsigned>(shared->next)));
        use_file(path);
    }
    std::exit(0);  // a sanitizer has its say here
}

void end_batch(int status, unsigned seed, int count) {
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return;
    const char* const what = shared->hung ? "hung" : shared->next < count ? "crashed" : "left something";
    std::printf("FAILED file %u %s, status %d\n", seed + static_cast<unsigned>(shared->next), what, status);
    ++(shared->hung ? shared->report.hung : shared->report.crashed);
    shared->hung = false;
    ++shared->next;
}

Report play(const TempDir& folder, const Container& container, unsigned seed, int count) {
    const Bytes whole = whole_file(folder, container);
    const std::string path = (folder / (std::string("damaged.") + container.extension)).string();
    *shared = {};
    for (int begin = 0; begin < count; begin += kBatch) {
        const int size = std::min(kBatch, count - begin);
        const unsigned first = seed + static_cast<unsigned>(begin);
        for (shared->next = 0; shared->next < size;) {
            std::fflush(stdout);
            const pid_t process = fork();
            if (process == 0)
                use_batch(whole, first, size, path);
            int status = 0;
            while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
            }
            end_batch(status, first, size);
        }
    }
    shared->report.files = count;
    return shared->report;
}

bool is_well(const Report& report) {
    const bool is_fast = kIsSanitized || report.slowest < kSlowest;
    return report.crashed + report.hung + report.undocumented == 0 && is_fast && report.opened > report.files / 4;
}

}  // namespace

int main(int argc, char** argv) {
    const bool all = runs_whole_sweep();
    const int usual = all ? kWhole : kIsSanitized ? kSample / 2 : kSample;
    const int each = (argc > 1 ? std::atoi(argv[1]) : usual) / static_cast<int>(containers().size());
    const unsigned seed = printed_seed(1);
    const TempDir folder;
    if (each < 1 || std::freopen("/dev/null", "w", stderr) == nullptr)
        return 2;
    void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    shared = new (memory) Shared{};
    std::printf(
        "| container | files | opened | crashed | hung | undocumented | slowest, ms "
        "|\n|---|---|---|---|---|---|---|\n");
    bool well = true;
    for (const Container& container : containers()) {
        const Report report = play(folder, container, seed, each);
        std::printf("| %s | %d | %d | %d | %d | %d | %.0f |\n", container.extension, report.files, report.opened,
                    report.crashed, report.hung, report.undocumented, report.slowest * 1000);
        well &= is_well(report);
    }
    return well ? 0 : 1;
}
