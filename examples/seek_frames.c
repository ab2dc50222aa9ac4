/* seek_frames VIDEO NUMBER...: delivers frames by number, in any order, and prints the mean colour of each. */
#include <qmio.h>
#include <stdio.h>
#include <stdlib.h>

static void print_mean_colour(int frame, const uint8_t* bgra, int64_t pixels) {
    int64_t blue = 0, green = 0, red = 0;
    for (int64_t i = 0; i < pixels; ++i) {
        blue += bgra[4 * i];
        green += bgra[4 * i + 1];
        red += bgra[4 * i + 2];
    }
    printf("frame %d: red %d, green %d, blue %d\n", frame, (int)(red / pixels), (int)(green / pixels),
           (int)(blue / pixels));
}

/* 1 when the file has the frame, else 0. */
static int deliver(MediaHandle* media, int frame, uint8_t* bgra) {
    if (qmio_seek_frame(media, frame) != frame)
        return 0;
    int result = qmio_read_frame(media, bgra); /* the wanted frame, however far away the next key frame is */
    if (result <= QMIO_PICTURE_HELD && qmio_get_file_param(media, "dts_frame") == frame)
        result = qmio_get_buf(media, bgra); /* a still picture is read once, and held from then on */
    return result > 0;
}

int main(int argc, char** argv) {
    if (argc < 3)
        return fprintf(stderr, "usage: seek_frames VIDEO NUMBER...\n"), 1;
    MediaHandle* media = qmio_open_a(argv[1]);
    if (media == NULL || qmio_get_file_param(media, "nvideo") < 1)
        return fprintf(stderr, "%s: no video that can be opened\n", argv[1]), qmio_close(media), 1;
    const int width = (int)qmio_get_file_param(media, "width"), height = (int)qmio_get_file_param(media, "height");
    const int size = qmio_get_bufsize(AV_PIX_FMT_BGRA, width, height); /* negative where a picture is too large */
    uint8_t* bgra = (uint8_t*)qmio_alloc(size);
    if (bgra == NULL)
        return fprintf(stderr, "%s: no room for its pictures\n", argv[1]), qmio_close(media), 1;
    for (int i = 2; i < argc; ++i) {
        const int frame = atoi(argv[i]);
        if (deliver(media, frame, bgra))
            print_mean_colour(frame, bgra, (int64_t)width * height);
        else
            printf("frame %d: not in the file\n", frame);
    }
    qmio_free(bgra);
    qmio_close(media);
    return 0;
}
