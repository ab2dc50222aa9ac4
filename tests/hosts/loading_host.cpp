// A host that loads the library it is told to, opens a source with it, reads a little and closes.
// loading_host LIBRARY SOURCE [OPTIONS]
#include <cstdint>
#include <cstdio>

#include "support/dynamic_library.h"
#include "support/temp_dir.h"

struct MediaHandle;

namespace {

int open_and_read(const qmio::test::DynamicLibrary& library, const char* source, const char* options) {
    auto* const open = library.function<MediaHandle*(const char*, const char*)>("qmio_open_ex_a");
    auto* const get_frame = library.function<int(MediaHandle*)>("qmio_get_frame");
    auto* const release_frame = library.function<int(MediaHandle*)>("qmio_release_frame");
    auto* const seek_frame = library.function<int(MediaHandle*, int)>("qmio_seek_frame");
    auto* const close = library.function<int(MediaHandle*)>("qmio_close");
    MediaHandle* media = open(source, options);
    std::puts(media != nullptr ? "opened" : "failed");
    for (int packet = 0; packet < 20 && get_frame(media) >= 0; ++packet)
        release_frame(media);
    seek_frame(media, 3);
    return close(media);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3)
        return 2;
    const qmio::test::DynamicLibrary library(qmio::test::path_of(argv[1]));
    if (!library.loaded()) {
        std::fprintf(stderr, "%s\n", library.error().c_str());
        return 1;
    }
    return open_and_read(library, argv[2], argc > 3 ? argv[3] : nullptr);
}
