#include "ffmpeg/concealment.h"

#include <mutex>
#include <string_view>

#include "platform/never_destroyed.h"
#include "platform/static_mutex.h"

namespace qmio::ffmpeg {

namespace {

// A host may have decoders of its own, with values of its own where ours have their watch: only what is listed is one.
struct Watches {
    platform::StaticMutex mutex;
    ConcealmentWatch* first = nullptr;
};

constinit platform::NeverDestroyed<Watches> watches;

bool is_decoder(const void* context) {
    return context != nullptr && *static_cast<const AVClass* const*>(context) == avcodec_get_class();
}

}  // namespace

ConcealmentWatch::~ConcealmentWatch() {
    if (!is_listed_)
        return;
    const std::lock_guard lock(watches.value.mutex);
    ConcealmentWatch** place = &watches.value.first;
    while (*place != this)
        place = &(*place)->next_;
    *place = next_;
}

void ConcealmentWatch::watch(AVCodecContext& decoder) {
    decoder.opaque = this;
    if (is_listed_)
        return;
    const std::lock_guard lock(watches.value.mutex);
    next_ = watches.value.first;
    watches.value.first = this;
    is_listed_ = true;
}

void note_message(const void* context, const char* format) {
    if (format == nullptr || !std::string_view(format).starts_with("concealing ") || !is_decoder(context))
        return;
    const std::lock_guard lock(watches.value.mutex);
    for (ConcealmentWatch* watch = watches.value.first; watch != nullptr; watch = watch->next_)
        if (watch == static_cast<const AVCodecContext*>(context)->opaque)
            watch->concealed_.store(true, std::memory_order_relaxed);
}

}  // namespace qmio::ffmpeg
