// Pictures in order and by number, as four readers give them.
#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>

#include "media.h"
#include "memory_use.h"
#include "reader.h"
#include "rows.h"
#include "truth.h"

namespace bench {

namespace {

constexpr unsigned kSeed = 20240305;
constexpr int kFrames = 300;

struct Clip {
    const char* name;
    std::string path;

    // Made when the first row of it is measured.
    const Truth& truth() const {
        if (truth_ == nullptr)
            truth_ = std::make_unique<Truth>(path);
        return *truth_;
    }

    mutable std::unique_ptr<Truth> truth_;
};

const Clip kClips[] = {{"H.264 1080p, GOP 120", bench_file("bframes_gop120_1080p.mp4"), nullptr},
                       {"MPEG-2 TS 720p, GOP 15", bench_file("gop15_720p.ts"), nullptr},
                       {"ProRes 1080p", bench_file("prores_1080p.mov"), nullptr}};

struct Peer {
    const char* name;
    OpenReader open;
};
constexpr Peer kPeers[] = {{kLibrary, open_library_reader},
                           {kPlain, open_plain_reader},
                           {kFfms, open_ffms_reader},
                           {kOpenCv, open_opencv_reader}};

using Numbers = std::vector<int>;

// ---- what is asked for ----

Numbers at_random(int count) {
    std::mt19937 random(kSeed);
    Numbers numbers;
    for (int i = 0; i < count; ++i)
        numbers.push_back(static_cast<int>(random() % kFrames));
    return numbers;
}

Numbers backwards(int count) {
    Numbers numbers;
    for (int i = 1; i <= count; ++i)
        numbers.push_back(kFrames - i);
    return numbers;
}

Numbers forward_by(int step) {
    Numbers numbers;
    for (int number = 0; number < kFrames; number += step)
        numbers.push_back(number);
    return numbers;
}

void add_way(Numbers& numbers, int to) {
    while (numbers.back() != to)
        numbers.push_back(numbers.back() + (numbers.back() < to ? 1 : -1));
}

// From each place back, on beyond it and to it again, frame by frame.
Numbers to_and_fro(int places, int reach) {
    std::mt19937 random(kSeed);
    Numbers numbers;
    for (int i = 0; i < places; ++i) {
        const int place = reach + static_cast<int>(random() % static_cast<unsigned>(kFrames - 2 * reach));
        numbers.push_back(place);
        for (const int end : {place - reach, place + reach, place})
            add_way(numbers, end);
    }
    return numbers;
}

// ---- who gives it, and whether it is right ----

// The library's pictures are the plain loop's to the byte; other libraries have conversions of their own.
bool is_right(const Truth& truth, const Peer& peer, const Reader& reader, int number) {
    const bool exact = peer.name == std::string(kLibrary) || peer.name == std::string(kPlain);
    return exact ? truth.is_exactly(reader.picture(), number) : truth.looks_like(reader.picture(), number);
}

std::string remark_on(const Peer& peer, int wrong, std::size_t of) {
    if (wrong == 0)
        return "";
    if (peer.name == std::string(kLibrary))
        throw std::runtime_error(std::to_string(wrong) + " pictures are not the plain loop's");
    return std::to_string(wrong) + " of " + std::to_string(of) + " wrong";
}

std::string check_numbers(const Clip& clip, const Peer& peer, const Numbers& numbers) {
    const std::unique_ptr<Reader> reader = peer.open(clip.path);
    int wrong = 0;
    for (const int number : numbers)
        wrong += !reader->seek_and_read(number) || !is_right(clip.truth(), peer, *reader, number);
    return remark_on(peer, wrong, numbers.size());
}

std::string check_order(const Clip& clip, const Peer& peer) {
    const std::unique_ptr<Reader> reader = peer.open(clip.path);
    int right = 0;
    for (int number = 0; number < kFrames && reader->next(); ++number)
        right += is_right(clip.truth(), peer, *reader, number);
    return remark_on(peer, kFrames - right, kFrames);
}

// Twenty handles that step back share what one may keep.
std::string check_memory_of_many(const Clip& clip) {
    constexpr int kPlace = 60;
    constexpr int kSteps = 4;
    constexpr long kBudget = 256;  // MiB, unless the configuration says otherwise
    constexpr long kPicture = 3;   // that a decoder may hold more where none is left out
    std::vector<std::unique_ptr<Reader>> readers(20);
    for (std::unique_ptr<Reader>& reader : readers) {
        reader = open_library_reader(clip.path);
        reader->seek_and_read(kPlace);
    }
    const long before = resident_memory() / 1024;
    for (int step = 1; step <= kSteps; ++step)
        for (const std::unique_ptr<Reader>& reader : readers)
            reader->seek_and_read(kPlace - step);
    const long kept = resident_memory() / 1024 - before;
    std::fprintf(stderr, "20 handles stepping back: %ld MiB, and %ld more for what they keep\n", before, kept);
    if (kept > kBudget + kPicture * static_cast<long>(readers.size()))
        throw std::runtime_error("the handles keep " + std::to_string(kept) + " MiB");
    return "";
}

Contender by_number(const Clip& clip, const Peer& peer, const Numbers& numbers) {
    return {peer.name,
            [&clip, peer, numbers]() -> Job {
                const std::shared_ptr<Reader> reader = peer.open(clip.path);
                return [reader, numbers] {
                    for (const int number : numbers)
                        reader->seek_and_read(number);
                };
            },
            [&clip, peer, numbers] { return check_numbers(clip, peer, numbers); }};
}

Contender in_order(const Clip& clip, const Peer& peer) {
    return {peer.name,
            [&clip, peer]() -> Job {
                const std::shared_ptr<Reader> reader = peer.open(clip.path);
                return [reader] {
                    while (reader->next()) {
                    }
                };
            },
            [&clip, peer] { return check_order(clip, peer); }};
}

Contender first_picture(const Clip& clip, const Peer& peer) {
    return {peer.name, [&clip, peer]() -> Job { return [&clip, peer] { peer.open(clip.path)->next(); }; }, {}};
}

// ---- the rows ----

Row numbers_row(const Clip& clip, const char* work, const Numbers& numbers) {
    Row row{clip.name, work, "frames/s", static_cast<double>(numbers.size()), {}};
    for (const Peer& peer : kPeers)
        row.contenders.push_back(by_number(clip, peer, numbers));
    return row;
}

// The first of every `of` blocks.
Numbers some_blocks(const Numbers& numbers, std::size_t block, std::size_t of) {
    Numbers some;
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (i / block % of == 0)
            some.push_back(numbers[i]);
    return some;
}

// Where whoever begins every way anew would take minutes: those do some blocks of the work.
Row long_row(const Clip& clip, const char* work, const Numbers& numbers, std::size_t block, std::size_t of) {
    Row row{clip.name, work, "frames/s", static_cast<double>(numbers.size()), {}};
    const Numbers some = some_blocks(numbers, block, of);
    for (const Peer& peer : kPeers) {
        const bool all = peer.name == std::string(kLibrary);
        row.contenders.push_back(by_number(clip, peer, all ? numbers : some));
        row.contenders.back().part = all ? 1 : static_cast<double>(some.size()) / row.amount;
    }
    return row;
}

// Where the decoder's threads do not blur what is saved.
Row one_thread_row(const Clip& clip) {
    const Numbers numbers = at_random(24);
    return {clip.name,
            "anywhere, on one thread",
            "frames/s",
            static_cast<double>(numbers.size()),
            {by_number(clip, {kLibrary, open_library_reader_on_one_thread}, numbers),
             by_number(clip, {kPlain, open_plain_reader_on_one_thread}, numbers)}};
}

Row stepping_back_row(const Clip& clip) {
    Row row = long_row(clip, "back by 1", backwards(240), 8, 10);
    Contender& library = row.contenders.front();
    library.check = [&clip, check_pictures = library.check] { return check_pictures() + check_memory_of_many(clip); };
    return row;
}

// Counted in the frames that are passed: jumping over them is to be no slower than reading them.
Row scrub_row(const Clip& clip, const char* work, int step) {
    Row row = numbers_row(clip, work, forward_by(step));
    row.unit = "frames passed/s";
    row.amount = kFrames;
    return row;
}

Row order_row(const Clip& clip) {
    Row row{clip.name, "in order", "frames/s", kFrames, {}};
    for (const Peer& peer : kPeers)
        row.contenders.push_back(in_order(clip, peer));
    return row;
}

// The plain loop has no other thread that reads.
Row queue_row(const Clip& clip) {
    return {clip.name,
            "in order through the queue",
            "frames/s",
            kFrames,
            {in_order(clip, {kLibrary, open_queued_reader}), in_order(clip, {kPlain, open_plain_reader})}};
}

Row first_picture_row(const Clip& clip) {
    Row row{clip.name, "open to first picture", "times/s", 1, {}};
    for (const Peer& peer : kPeers)
        row.contenders.push_back(first_picture(clip, peer));
    return row;
}

}  // namespace

void add_video_rows(std::vector<Row>& rows) {
    for (const Clip& clip : kClips) {
        rows.push_back(first_picture_row(clip));
        rows.push_back(order_row(clip));
        rows.push_back(queue_row(clip));
        rows.push_back(numbers_row(clip, "anywhere", at_random(24)));
        rows.push_back(one_thread_row(clip));
        rows.push_back(stepping_back_row(clip));
        rows.push_back(scrub_row(clip, "forward by 5", 5));
        rows.push_back(scrub_row(clip, "forward by 60", 60));
        rows.push_back(long_row(clip, "to and fro by 12", to_and_fro(10, 12), 49, 5));
        rows.push_back(numbers_row(clip, "the same again", Numbers(50, kFrames / 2)));
    }
}

}  // namespace bench
