// A host in C++. Built three times: with FFmpeg's headers before the library's, after it, and without them.
#if defined(HOST_INCLUDES_FFMPEG_BEFORE)
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}
#endif

#include <qmio.h>

#if defined(HOST_INCLUDES_FFMPEG_AFTER)
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}
#elif !defined(HOST_INCLUDES_FFMPEG_BEFORE) && defined(AVUTIL_AVUTIL_H)
#error "qmio.h must not include an FFmpeg header"
#endif

#include <cstdio>
#include <cstring>

namespace {

#if defined(HOST_INCLUDES_FFMPEG_BEFORE) || defined(HOST_INCLUDES_FFMPEG_AFTER)
// The packets that cross the interface are FFmpeg's own, and a host that knows them may look inside.
int is_video(const AVPacket& packet, MediaHandle* media) {
    return packet.stream_index == qmio_get_vstream(media) ? 1 : 0;
}
#else
int is_video(const AVPacket&, MediaHandle*) {
    return 1;
}
#endif

int print_video_stream(MediaHandle* media) {
    if (media == nullptr)
        return 1;
    const int known = qmio_print(media, "video_st");
    const int unknown = qmio_print(media, "something else");
    std::printf("%d %d\n", known, unknown);
    return qmio_close(media);
}

}  // namespace

int main(int argc, char** argv) {
    using Check = int (*)(const AVPacket&, MediaHandle*);
    const volatile Check check = &is_video;
    if (check == nullptr)
        return 2;
    if (argc > 2 && std::strcmp(argv[1], "print") == 0)
        return print_video_stream(qmio_open_a(argv[2]));
    if (argc > 3 && std::strcmp(argv[1], "print_written") == 0)
        return print_video_stream(qmio_create_a(argv[2], argv[3]));
    return qmio_close(nullptr);
}
