// qmio play FILE: reads a range of a file in the background, looped or not, as a player would.
#include <CLI/CLI.hpp>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <memory>
#include <vector>

#include "failure.h"
#include "source.h"
#include "verbs.h"

namespace host {

namespace {

struct PlayOptions {
    std::string file;
    int in = 0, out = -1, loop_in = 0, loop_out = -1, loops = 1;
    bool dump = false;
};

// A second of sound at the highest rate in use, for all channels that there are.
constexpr std::size_t kSoundBytes = std::size_t{192000} * 64;

// Takes packet after packet out of the queue and tells of each what came of it.
class Play {
  public:
    Play(Source& source, const PlayOptions& options) : source_(source), dump_(options.dump) {
        if (source.has_video())
            pixels_.resize(static_cast<std::size_t>(source.width()) * static_cast<std::size_t>(source.height()) * 4);
        qmio_fifo_frame(source.handle(), options.in, options.out, options.loop_in, options.loop_out, options.loops);
    }

    void run() {
        for (int kind = next(); kind >= 0; kind = next()) {
            if (kind == QMIO_PACKET_VIDEO)
                take_picture(qmio_video_frame(source_.handle(), pixels_.data()));
            else if (kind == QMIO_PACKET_AUDIO)
                take_sound();
            else
                take_sync_point();
        }
        while (source_.has_video() && take_picture(qmio_video_pkt(source_.handle(), pixels_.data(), nullptr)))
            continue;
        tell_end();
    }

  private:
    int next() {
        qmio_release_frame(source_.handle());
        return qmio_get_frame(source_.handle());
    }

    bool take_picture(int result) {
        if (result <= QMIO_PICTURE_HELD)
            return false;
        ++pictures_;
        if (dump_)
            std::cout << "picture " << source_.last_decoded() << '\n';
        return true;
    }

    void take_sound() {
        sound_.resize(kSoundBytes);
        const int bytes = qmio_audio_frame(source_.handle(), sound_.data());
        sound_bytes_ += bytes;
        if (dump_)
            std::cout << "sound " << bytes << " bytes\n";
    }

    void take_sync_point() {
        ++passes_;
        if (dump_)
            std::cout << "sync point\n";
    }

    void tell_end() const {
        if (dump_) {
            std::cout << "end\n";
            return;
        }
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start_;
        std::cout << pictures_ << " pictures in " << passes_ << (passes_ == 1 ? " pass, " : " passes, ") << sound_bytes_
                  << " bytes of sound, " << std::fixed << std::setprecision(1)
                  << static_cast<double>(pictures_) / time.count() << " pictures a second\n";
    }

    Source& source_;
    bool dump_;
    std::vector<uint8_t> pixels_, sound_;
    int64_t pictures_ = 0, sound_bytes_ = 0, passes_ = 1;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

void play(const PlayOptions& options) {
    Source source(options.file);
    Play(source, options).run();
}

}  // namespace

void add_play(CLI::App& app) {
    CLI::App* verb =
        app.add_subcommand("play", "Read a range in the background as a player does; prints the rate that was reached");
    auto options = std::make_shared<PlayOptions>();
    verb->add_option("FILE", options->file, "The file to read")->required();
    verb->add_option("--in", options->in, "First frame; reading begins at the key frame before it")
        ->capture_default_str();
    verb->add_option("--out", options->out, "Last frame; -1: to the end of the file")->capture_default_str();
    verb->add_option("--loop-in", options->loop_in, "Frame to which a loop goes back")->capture_default_str();
    verb->add_option("--loop-out", options->loop_out, "Frame behind which it goes back; -1: the last one")
        ->capture_default_str();
    verb->add_option("--loops", options->loops, "How often the loop is gone through; 2147483647: for ever")
        ->capture_default_str();
    verb->add_flag("--dump", options->dump, "Print what comes out instead: frame numbers, sound, sync points");
    verb->callback([options] { play(*options); });
}

}  // namespace host
