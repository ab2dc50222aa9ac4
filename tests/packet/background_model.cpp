#include "packet/background_model.h"

#include <algorithm>
#include <limits>
#include <list>
#include <map>
#include <ostream>

#include "support/plain_file.h"

namespace qmio::test {

namespace {

constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

class Model {
  public:
    Model(const std::filesystem::path& path, const packet::Range& range, std::size_t held_back, std::size_t bound)
        : container_(open_plainly(path)), held_back_(held_back), bound_(bound) {
        learn_firsts(path);
        set_marks(range);
    }

    std::vector<Seen> run() {
        seek(in_);
        while (!ended_ && seen_.size() < bound_)
            read_one();
        return seen_;
    }

  private:
    void learn_firsts(const std::filesystem::path& path) {
        const Container whole = open_plainly(path);
        video_ = av_find_best_stream(whole.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        for (unsigned stream = 0; stream < whole->nb_streams; ++stream)
            if (whole->streams[stream]->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) {
                video_ = static_cast<int>(stream);
                break;
            }
        const Packet packet(av_packet_alloc());
        for (; av_read_frame(whole.get(), packet.get()) >= 0; av_packet_unref(packet.get()))
            if (packet->dts != AV_NOPTS_VALUE)
                firsts_.emplace(packet->stream_index, packet->dts);
    }

    void set_marks(const packet::Range& range) {
        out_ = range.out < 0 ? kNever : range.out;
        in_ = range.in < 0 ? 0 : range.in;
        loop_in_ = range.loop_in > in_ ? range.loop_in : in_;
        loop_out_ = range.loop_out < loop_in_ || range.loop_out > out_ ? out_ : range.loop_out;
        loops_ = range.loops;
        if (video_ >= 0) {
            AVStream* const stream = container_->streams[video_];
            const AVRational rate = av_guess_frame_rate(container_.get(), stream, nullptr);
            frame_ = rate.num > 0 ? rate.den * int64_t{1000000} / rate.num : 40000;
        }
    }

    int64_t first_of(int stream) const {
        const auto found = firsts_.find(stream);
        return found != firsts_.end() ? found->second : 0;
    }

    void seek(int64_t time) {
        if (video_ < 0) {
            av_seek_frame(container_.get(), -1, time, AVSEEK_FLAG_BACKWARD);
            return;
        }
        const AVRational base = container_->streams[video_]->time_base;
        const int64_t ticks = av_rescale_rnd(time, base.den, base.num, AV_ROUND_ZERO) / 1000000;
        av_seek_frame(container_.get(), video_, ticks + first_of(video_), AVSEEK_FLAG_BACKWARD);
    }

    // The first sixteen are tracks.
    bool is_sound(int stream) const {
        int before = 0;
        for (int other = 0; other < stream; ++other)
            before += codec_type(other) == AVMEDIA_TYPE_AUDIO ? 1 : 0;
        return codec_type(stream) == AVMEDIA_TYPE_AUDIO && before < 16;
    }

    AVMediaType codec_type(int stream) const { return container_->streams[stream]->codecpar->codec_type; }

    int64_t time_of(const AVPacket& packet) const {
        const AVRational base = container_->streams[packet.stream_index]->time_base;
        const int64_t ticks = packet.dts == AV_NOPTS_VALUE ? 0 : packet.dts - first_of(packet.stream_index);
        return std::max<int64_t>(ticks, 0) * base.num * 1000000 / base.den;
    }

    static int64_t later(int64_t mark, int64_t by) { return mark > kNever - by ? kNever : mark + by; }

    void read_one() {
        const Packet packet(av_packet_alloc());
        if (av_read_frame(container_.get(), packet.get()) < 0) {
            if (!wrap(max_ + 1 - offset_))
                mark(-1);
            return;
        }
        const int stream = packet->stream_index;
        const int type = stream == video_ ? 1 : is_sound(stream) ? 2 : 0;
        if (type == 0)
            return;
        const int64_t time = time_of(*packet);
        if (time >= later(loop_out_, frame_) && wrap(time))
            return;
        if (time >= later(out_, frame_))
            mark(-1);
        else
            push({type, stream, time + offset_});
    }

    bool wrap(int64_t time) {
        if (loops_ != packet::kEndless && loops_ > 0)
            --loops_;
        if (loops_ < 1)
            return false;
        offset_ += time - loop_in_;
        mark(0);
        seek(loop_in_);
        return true;
    }

    void push(const Seen& entry) {
        const auto after = [&](const Seen& other) {
            return std::tie(other.time, other.type, other.stream) > std::tie(entry.time, entry.type, entry.stream);
        };
        auto place = list_.end();
        while (place != list_.begin() && after(*std::prev(place)))
            --place;
        list_.insert(place, entry);
        if (entry.time > 0)
            max_ = std::max(max_, entry.time);
        give();
    }

    void mark(int type) {
        list_.push_back({type, -1, max_ + 1});
        ended_ = type < 0;
        give();
    }

    void give() {
        while (!list_.empty() && (ended_ || list_.size() > held_back_)) {
            seen_.push_back(list_.front());
            list_.pop_front();
        }
    }

    Container container_;
    std::size_t held_back_, bound_;
    std::map<int, int64_t> firsts_;
    int video_ = -1;
    int64_t in_ = 0, out_ = 0, loop_in_ = 0, loop_out_ = 0, frame_ = 40000, offset_ = 0, max_ = 0;
    int32_t loops_ = 0;
    std::list<Seen> list_;
    std::vector<Seen> seen_;
    bool ended_ = false;
};

}  // namespace

std::ostream& operator<<(std::ostream& out, const Seen& seen) {
    return out << '(' << seen.type << ' ' << seen.stream << ' ' << seen.time << ')';
}

std::vector<Seen> modelled(const std::filesystem::path& path, const packet::Range& range, std::size_t held_back,
                           std::size_t bound) {
    return Model(path, range, held_back, bound).run();
}

}  // namespace qmio::test
