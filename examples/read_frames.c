#include <qmio.h>
#include <stdio.h>

int main(int argc, char** argv) {
    MediaHandle* media = qmio_open_a(argc > 1 ? argv[1] : "");
    if (media == NULL || qmio_get_file_param(media, "nvideo") < 1)
        return fprintf(stderr, "usage: read_frames VIDEO\n"), qmio_close(media), 1;
    int width = (int)qmio_get_file_param(media, "width"), height = (int)qmio_get_file_param(media, "height");
    uint8_t* picture = qmio_alloc(width * height * 4); /* BGRA, rows without gaps */
    int frames = 0, result;
    while ((result = qmio_read_frame(media, picture)) != 0) /* 3, 5, 7: a picture; below 0: a damaged packet */
        frames += result > 1;
    while (qmio_video_pkt(media, picture, NULL) > 1) /* what the decoder still holds at the end */
        ++frames;
    printf("%d frames of %d x %d\n", frames, width, height);
    qmio_free(picture);
    qmio_close(media);
    return 0;
}
