// The library is loaded, used and unloaded by a host that is linked with FFmpeg alone.
#include <dlfcn.h>

#include <string>

#include "faults/scenarios.h"

struct MediaHandle;

namespace qmio::test {
namespace {

template <typename Function>
Function* function_of(void* library, const char* name) {
    return reinterpret_cast<Function*>(dlsym(library, name));
}

void load_and_unload(Answers& answers) {
    void* const library = dlopen(QMIO_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL);
    answers.note(library != nullptr);
    if (library == nullptr)
        return;
    auto* const open = function_of<MediaHandle*(const char*)>(library, "qmio_open_a");
    auto* const get_frame = function_of<int(MediaHandle*)>(library, "qmio_get_frame");
    auto* const close = function_of<int(MediaHandle*)>(library, "qmio_close");
    MediaHandle* const media = open(QMIO_SMALL_FILM);
    answers.note(media != nullptr);
    const int packet = get_frame(media);
    answers.note(packet, packet >= -1 && packet <= 2, "qmio_get_frame");
    answers.note(close(media));
    answers.note(dlclose(library));
}

}  // namespace

std::span<const Scenario> scenarios() {
    static constexpr Scenario all[] = {{"load and unload", load_and_unload}};
    return all;
}

void prepare_scenarios(const char*) {}
void begin_process() {}

}  // namespace qmio::test
