#include "read/sound_track.h"

#include <algorithm>
#include <utility>

#include "audio/planes.h"
#include "core/process/trace.h"
#include "read/sound_hash.h"

namespace qmio::read {

namespace {

constexpr const wchar_t* kTag = L"qmio_read_sound";

// A group is closed by whichever comes first. What lies in one is more than any decoder needs to come right that does:
// the bit reservoir of MP3 reaches 9 frames back, Opus converges within 80 ms.
constexpr int kMostPackets = 256;
constexpr int64_t kEnoughSamples = 16384;

// Of longer packets one is not enough: the first may give nothing.
constexpr std::size_t kGroupsBefore = 2;

// A decoder that came out wrong so often behind a jump is not tried again: sounds that are made up of noise come now and
// then in some files, and all the time in others.
constexpr int kMostFailedJumps = 8;

// So few groups ahead are decoded on the way rather than jumped to.
constexpr std::size_t kNear = 3;

void add_to(SoundHash& hash, const AVFrame& frame) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const int channels = frame.ch_layout.nb_channels;
    const std::size_t plane = audio::plane_size(format, frame.nb_samples * (planar ? 1 : channels));
    for (int index = 0; index < (planar ? channels : 1); ++index)
        hash.add(frame.extended_data[index], plane);
}

}  // namespace

SoundTrack::SoundTrack(const std::shared_ptr<const Request>& request, const Container& owner, const Track& track)
    : first_(SoundCursor(request, owner, track.stream_index, track.coder)),
      again_(SoundCursor(request, owner, track.stream_index, track.coder)) {}

bool SoundTrack::can_be_read() {
    failed_ = false;
    return first_.next != kNowhere || begin_anew(first_);
}

SoundTrack::Place SoundTrack::find(int64_t position) {
    while (!holds(position)) {
        const bool is_known = position < known_samples();
        if (!is_known && is_whole())
            return {};
        if (is_known ? !recall(group_of(position)) : !learn())
            return {};
    }
    int64_t sample = position - first_sample_;
    for (const ffmpeg::FramePtr& frame : frames_) {
        if (sample < frame->nb_samples)
            return {frame.get(), static_cast<int>(sample)};
        sample -= frame->nb_samples;
    }
    return {};
}

int64_t SoundTrack::known_samples() const {
    return groups_.empty() ? 0 : groups_.back().first_sample + groups_.back().samples;
}

bool SoundTrack::holds(int64_t position) const {
    return position >= first_sample_ && position < first_sample_ + samples_;
}

std::size_t SoundTrack::group_of(int64_t position) const {
    const auto behind = std::upper_bound(groups_.begin(), groups_.end(), position,
                                         [](int64_t at, const Group& group) { return at < group.first_sample; });
    return static_cast<std::size_t>(behind - groups_.begin()) - 1;
}

// ---- for the first time ----

bool SoundTrack::learn() {
    if (first_.next == kNowhere)
        return false;
    Group group;
    group.first_packet = first_.at.number();
    group.first_sample = known_samples();
    take_packets(first_, group, kMostPackets, false);
    finish(group);
    groups_.push_back(group);
    ++first_.next;
    return true;
}

// ---- once more ----

bool SoundTrack::jumps() const {
    return failed_jumps_ < kMostFailedJumps;
}

bool SoundTrack::recall(std::size_t group) {
    const bool is_near = again_.next <= group && group - again_.next <= kNear;
    if (is_near || (again_.next <= group && !jumps())) {
        if (recall_from(group))
            return true;
    } else if (jumps() && group > kGroupsBefore) {
        if (recall_by_jump(group)) {
            failed_jumps_ = 0;
            return true;
        }
        ++failed_jumps_;
        trace(TraceSwitch::audio, kTag, L"group %I64d is another behind a jump, decoding from the start\n",
              static_cast<int64_t>(group));
    }
    // From the start the same comes out every time.
    if (begin_anew(again_) && recall_from(group))
        return true;
    failed_ = true;
    return false;
}

bool SoundTrack::recall_by_jump(std::size_t group) {
    const std::size_t start = group - kGroupsBefore;
    again_.next = kNowhere;
    if (!again_.at.move_to(groups_[start].first_packet, groups_[start].mark))
        return false;
    for (std::size_t before = start; before < group; ++before) {
        Group unheard = groups_[before];
        take_packets(again_, unheard, groups_[before].packets, true);
    }
    again_.next = group;
    return recall_from(group);
}

// Every group on the way has to be what it was.
bool SoundTrack::recall_from(std::size_t group) {
    while (again_.next <= group) {
        const Group& known = groups_[again_.next];
        Group heard = known;
        take_packets(again_, heard, known.packets, true);
        finish(heard);
        if (heard.packets != known.packets || heard.samples != known.samples || heard.sound != known.sound) {
            again_.next = kNowhere;
            samples_ = 0;
            return false;
        }
        ++again_.next;
    }
    return true;
}

bool SoundTrack::begin_anew(Reader& reader) {
    reader.next = reader.at.rewind() ? 0 : kNowhere;
    return reader.next == 0;
}

// ---- a group ----

void SoundTrack::take_packets(Reader& reader, Group& group, int most, bool is_known) {
    frames_.clear();
    samples_ = 0;
    int64_t samples = 0;
    std::size_t counted = 0;
    const bool drains = is_known && group.is_last;
    for (group.packets = 0; group.packets < most && (is_known || samples < kEnoughSamples); ++group.packets) {
        if (!reader.at.next()) {
            group.is_last = true;
            break;
        }
        if (group.packets == 0 && !is_known)
            group.mark = reader.at.mark();
        reader.at.decode(frames_);
        for (; counted < frames_.size(); ++counted)
            samples += frames_[counted]->nb_samples;
    }
    if (drains || (!is_known && group.is_last))
        reader.at.drain(frames_);
}

void SoundTrack::finish(Group& group) {
    SoundHash hash;
    group.samples = 0;
    for (ffmpeg::FramePtr& frame : frames_) {
        adapt(frame);
        group.samples += frame->nb_samples;
        add_to(hash, *frame);
    }
    group.sound = hash.value();
    first_sample_ = group.first_sample;
    samples_ = group.samples;
}

void SoundTrack::adapt(ffmpeg::FramePtr& frame) {
    const ffmpeg::SoundForm form = ffmpeg::form_of(*frame);
    if (form_.channels == 0)
        form_ = form;
    if (form.channels == form_.channels && form.format == form_.format)
        return;
    ffmpeg::FramePtr adapted(av_frame_alloc());
    ffmpeg::Resampler resampler;
    resampler.prepare({form.channels, form.format, form_.rate}, form_);
    adapted->format = form_.format;
    adapted->sample_rate = form_.rate;
    adapted->nb_samples = frame->nb_samples;
    av_channel_layout_default(&adapted->ch_layout, form_.channels);
    if (av_frame_get_buffer(adapted.get(), 0) < 0)
        return;
    av_samples_set_silence(adapted->extended_data, 0, adapted->nb_samples, form_.channels, form_.format);
    if (resampler.init())
        resampler.convert(adapted->extended_data, adapted->nb_samples, frame->extended_data, frame->nb_samples);
    frame = std::move(adapted);
}

}  // namespace qmio::read
