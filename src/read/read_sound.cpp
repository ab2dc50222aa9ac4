// Sound by its position in a track.
#include "read/read_sound.h"

#include <limits>

#include "audio/planes.h"
#include "core/handle/entry.h"
#include "qmio.h"

using namespace qmio;

int qmio_read_sound(MediaHandle* h, int track, int64_t start, int samples, void* buf, int size) {
    return with_handle_as_it_stands(h, int{QMIO_SOUND_NO_TRACK}, int{QMIO_SOUND_FAILED}, [&](MediaHandle& handle) {
        return read::read_sound(handle, track, {start, samples}, static_cast<uint8_t*>(buf), size);
    });
}

namespace qmio::read {

namespace {

// The track's place among those of the handle, made when it is first asked for.
PositionedTrack* positioned_track(MediaHandle& handle, int32_t number) {
    Reading& reading = handle.reading;
    if (reading.positioned == nullptr)
        reading.positioned = std::make_shared<PositionedSound>();
    std::unique_ptr<PositionedTrack>& place = reading.positioned->tracks[static_cast<std::size_t>(number)];
    const Track& track = *handle.tracks.find(number);
    if (place == nullptr)
        place = std::make_unique<PositionedTrack>(reading.request, handle.container, track);
    return place.get();
}

int read_in_form(PositionedTrack& place, const ffmpeg::SoundForm& form, const SoundRange& range, uint8_t* buffer) {
    if (!place.sound.can_be_read())
        return QMIO_SOUND_NO_SOURCE;
    // The first sample tells the form that all are in.
    if (place.sound.form().channels == 0 && place.sound.find(0).frame == nullptr)
        return place.sound.has_failed() ? QMIO_SOUND_FAILED : 0;
    if (place.in_form == nullptr || place.in_form->form() != form) {
        place.in_form = std::make_unique<SoundInForm>(place.sound, form);
        if (!place.in_form->prepare())
            place.in_form.reset();
    }
    if (place.in_form == nullptr)
        return QMIO_SOUND_NO_FORM;
    const int count = place.in_form->read(range.start, range.samples, buffer);
    return count == 0 && place.sound.has_failed() ? int{QMIO_SOUND_FAILED} : count;
}

}  // namespace

int read_sound(MediaHandle& handle, int32_t number, const SoundRange& range, uint8_t* buffer, int size) {
    const Track* const track = is_writer(handle) ? nullptr : handle.tracks.find(number);
    if (track == nullptr || track->codec == nullptr || handle.reading.request == nullptr)
        return QMIO_SOUND_NO_TRACK;
    const std::size_t needed = audio::block_size(track->delivered, range.samples);
    constexpr int64_t kLast = std::numeric_limits<int64_t>::max() / 2;  // beyond any sound
    if (range.start < 0 || range.start > kLast || range.samples < 0 || size < 0 ||
        needed > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return QMIO_SOUND_BAD_RANGE;
    if (audio::block_size(track->delivered, 1) == 0)
        return QMIO_SOUND_NO_FORM;
    if (buffer == nullptr)
        return static_cast<int>(needed);
    if (needed > static_cast<std::size_t>(size))
        return QMIO_SOUND_NO_ROOM;
    if (handle.container.cancelled.load(std::memory_order_relaxed))
        return QMIO_SOUND_NO_SOURCE;
    if (range.samples == 0)
        return 0;
    return read_in_form(*positioned_track(handle, number), track->delivered, range, buffer);
}

}  // namespace qmio::read
