/* A host in plain C11. Built three times: with FFmpeg's headers before the library's, after it, and without them. */
#if defined(HOST_INCLUDES_FFMPEG_BEFORE)
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
#endif

#include <qmio.h>

#if defined(HOST_INCLUDES_FFMPEG_AFTER)
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
#elif !defined(HOST_INCLUDES_FFMPEG_BEFORE) && defined(AVUTIL_AVUTIL_H)
#error "qmio.h must not include an FFmpeg header"
#endif

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

static int count_pictures(MediaHandle* media, uint8_t* buffer) {
    int pictures = 0;
    while (qmio_read_frame(media, buffer) > 0)
        ++pictures;
    while (qmio_video_pkt(media, buffer, NULL) > 0)
        ++pictures;
    return pictures;
}

static int show(const char* name) {
    MediaHandle* media = qmio_open_a(name);
    if (media == NULL) {
        fprintf(stderr, "cannot open %s\n", name);
        return 1;
    }
    const int64_t width = qmio_get_file_param(media, "width");
    const int64_t height = qmio_get_file_param(media, "height");
    uint8_t* buffer = malloc((size_t)(width * height * 4));
    printf("%" PRId64 "x%" PRId64 " %d\n", width, height, buffer != NULL ? count_pictures(media, buffer) : -1);
    free(buffer);
    return qmio_close(media);
}

int main(int argc, char** argv) {
#if !defined(HOST_INCLUDES_FFMPEG_BEFORE) && !defined(HOST_INCLUDES_FFMPEG_AFTER)
    if (AV_PIX_FMT_BGRA != 30 || AV_PIX_FMT_NONE != -1)
        return 2;
#endif
    return argc > 1 ? show(argv[1]) : qmio_close(NULL);
}
