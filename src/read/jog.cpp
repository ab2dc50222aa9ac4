#include "read/jog.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/handle/frame_numbers.h"
#include "core/process/settings.h"
#include "ffmpeg/seek_index.h"
#include "read/position.h"

namespace qmio::read {

namespace {

// A host that reads on behind a sought picture may come back; one that plays on need not have its pictures kept.
constexpr int32_t kKeptBehind = 48;

// Where no index tells where a landing is, it is found by going back further and further, these frames at first.
constexpr int32_t kCloserThanALanding = 16;

int64_t steady_size(const Container& container) {
    const bool steady =
        container.input != nullptr ? container.input->is_steady() : ffmpeg::is_local_file(*container.format_ctx);
    return steady ? avio_size(container.format_ctx->pb) : -1;
}

ffmpeg::IndexedKey key_before(const Source& source, int32_t frame) {
    AVStream& stream = *source.video.stream;
    return ffmpeg::indexed_key(stream, time_to_seek(source, stream, frame, AVSEEK_FLAG_BACKWARD));
}

// How many packets the decoder has got when a picture comes out, beyond that picture's.
int32_t fed_ahead(const AVCodecContext& codec) {
    const bool by_pictures = (codec.active_thread_type & FF_THREAD_FRAME) != 0;
    return std::max(codec.has_b_frames, 0) + (by_pictures ? std::max(codec.thread_count, 1) - 1 : 0);
}

// The number of the key frame that a seek to the frame would go to; nothing where that is not known before.
std::optional<int32_t> key_of(const Source& source, int32_t frame) {
    if (const CountedPictures* const counted = source.video.counted.get())
        return counted->key_before(frame).number;
    const ffmpeg::IndexedKey key = key_before(source, frame);
    return key.is_known && !key.is_last ? std::optional(frame_number_at(source.video, key.timestamp)) : std::nullopt;
}

}  // namespace

// A seek that was made is no picture that was delivered: it leaves nothing but where the next one begins.
void Jog::leave_debt(Debt next) {
    if (!sought_)
        before_seek = std::move(debt);
    debt = std::move(next);
}

void Jog::follow(const Source& source, int32_t target) {
    leave_debt({});
    follows_ = sought_ = true;
    straight_ = 0;
    lowest_ = lowest_ == kNoFrame ? target : std::min(lowest_, target);
    size_ = steady_size(source.container);
}

void Jog::put_off(int32_t target) {
    leave_debt({true, false, target, 0, nullptr});
    sought_ = true;
    straight_ = 0;
}

bool Jog::take_sought() {
    return std::exchange(sought_, false);
}

void Jog::note(const Source& source, bool sound, int32_t whole_from, bool keeps) {
    if (pass_ != source.reading.decoder.pass()) {
        pass_ = source.reading.decoder.pass();
        damaged_ = drained_ = false;
        last_ = behind_ = kNoFrame;
    }
    const int32_t number = source.video.have_frame;
    // Reading on does not drain the decoder: the first picture that came out so does not follow the one before.
    const bool follows = drained_ == source.reading.decoder.is_drained() && behind_ >= whole_from - 1;
    const int32_t before = follows ? behind_ : kNoFrame;
    drained_ = source.reading.decoder.is_drained();
    // What is damaged is referred to by what follows; and where two pictures have one number the next is not told by it.
    damaged_ |= !sound;
    behind_ = !damaged_ && number > last_ && number >= whole_from - 1 ? number : kNoFrame;
    last_ = number;
    if (keeps && follows_ && behind_ != kNoFrame && number >= whole_from)
        pictures.keep(*source.reading.pFrame, number, before);
}

void Jog::note_on_way(const Source& source, bool sound, int32_t whole_from) {
    note(source, sound, whole_from, true);
}

void Jog::note_straight(const Source& source, bool sound) {
    note(source, sound, 0, ++straight_ <= kKeptBehind);
}

int32_t Jog::behind(const Source& source) const {
    return follows_ && pass_ == source.reading.decoder.pass() ? behind_ : kNoFrame;
}

bool Jog::can_owe_seek(const Source& source, int32_t frame) const {
    if (size_ < 0 || !is_demuxing(source.container) || steady_size(source.container) != size_)
        return false;
    return frame >= lowest_ || source.video.counted != nullptr || key_before(source, frame).is_known;
}

bool Jog::can_go_on_to(const Source& source, int32_t frame) const {
    const int32_t from = behind(source);
    if (from == kNoFrame || frame <= from || frame >= known_frames(source))
        return false;
    // No key frame lies between, or one that the decoder has already.
    const std::optional<int32_t> key = key_of(source, frame);
    return key ? *key <= from + 1 + fed_ahead(*source.video.codec) : frame - from <= kCloserThanALanding;
}

std::shared_ptr<Jog> make_jog(Source& source) {
    Reading& reading = source.reading;
    const bool may_keep = settings().frame_cache > 0 && source.container.index_mapping == nullptr &&
                          !reading.damage.noticed && !reading.decoder.is_on_hardware() &&
                          !ffmpeg::times_depend_on_way(*source.container.format_ctx);
    if (may_keep && reading.jog == nullptr)
        reading.jog = std::make_shared<Jog>();
    return may_keep ? reading.jog : nullptr;
}

}  // namespace qmio::read
