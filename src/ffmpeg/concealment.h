// Whether a decoder has made up parts of pictures for damaged data.
//
// A picture's own marks do not tell it where several are decoded at once: the marks are copied when a picture is put in
// line for delivery, and its data may be decoded after that, as chance has it. Nor do pictures that refer to a damaged one
// that is shown later. What FFmpeg says when it conceals is said before any of them is delivered, so the log's callback
// hands it on to here.
#pragma once

#include <atomic>

#include "ffmpeg/ffmpeg.h"

namespace qmio::ffmpeg {

class ConcealmentWatch {
  public:
    ConcealmentWatch() = default;
    ConcealmentWatch(const ConcealmentWatch&) = delete;
    ConcealmentWatch& operator=(const ConcealmentWatch&) = delete;
    ~ConcealmentWatch();

    // Watches the decoder, which is not open yet, instead of any before it; its threads inherit that.
    void watch(AVCodecContext& decoder);

    // True when something was concealed since the last call.
    bool take() { return concealed_.exchange(false, std::memory_order_relaxed); }

  private:
    friend void note_message(const void* context, const char* format);

    std::atomic<bool> concealed_{false};
    bool is_listed_ = false;
    ConcealmentWatch* next_ = nullptr;
};

// To be called from the log's callback, on any thread, with what FFmpeg logs for and the format of its message.
void note_message(const void* context, const char* format);

}  // namespace qmio::ffmpeg
