// What a host does while calls fail beneath it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace qmio::test {

// What the library answered, in order, and what came of it: pictures, sound, the result of finishing. The latter is the same
// where threads hold pictures back a little longer.
class Answers {
  public:
    void note(int64_t answer) { mix(digest_, answer); }
    // An answer that is one of those that the header names for the call, or is none.
    void note(int64_t answer, bool documented, const char* call) {
        note(answer);
        if (!documented && undocumented_ == nullptr)
            undocumented_ = call;
    }
    void note_outcome(int64_t outcome) { mix(pictures_, outcome); }
    void note_picture(const uint8_t* bytes, std::size_t count) { mix(pictures_, bytes, count); }
    void note_sound(const uint8_t* bytes, std::size_t count) { mix(sound_, bytes, count); }

    uint64_t digest() const { return digest_ ^ outcome(); }
    uint64_t outcome() const { return pictures_ + 3 * sound_; }
    const char* undocumented() const { return undocumented_; }  // the first call with such an answer, or null

  private:
    static void mix(uint64_t& digest, int64_t number) {
        digest = (digest ^ static_cast<uint64_t>(number)) * 0x100000001B3 + 1;
    }
    static void mix(uint64_t& digest, const uint8_t* bytes, std::size_t count) {
        for (std::size_t byte = 0; byte < count; ++byte)
            mix(digest, bytes[byte]);
    }

    uint64_t digest_ = 0, pictures_ = 0, sound_ = 0;
    const char* undocumented_ = nullptr;
};

struct Scenario {
    const char* name;
    void (*play)(Answers& answers);            // asks for no memory of its own
    bool takes_what_threads_there_are = true;  // what it answers does not depend on how many can be had
};

// Those of the program, which makes what they read before it asks for them.
std::span<const Scenario> scenarios();
void prepare_scenarios(const char* folder);

// Before anything is counted in a process of its own.
void begin_process();

}  // namespace qmio::test
