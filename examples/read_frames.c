#include <qmio.h>
#include <stdio.h>

int main(int argc, char** argv) {
    char reason[512] = "it has no pictures";
    MediaHandle* media = qmio_open_u8(argc > 1 ? argv[1] : "", NULL);
    if (media == NULL)
        return qmio_why(reason, sizeof reason), fprintf(stderr, "%s\n", reason), 1;
    const int width = (int)qmio_get_file_param(media, "width"), height = (int)qmio_get_file_param(media, "height");
    const int size = qmio_get_bufsize(AV_PIX_FMT_BGRA, width, height);  // negative without a picture
    uint8_t* picture = (uint8_t*)qmio_alloc(size);
    if (picture == NULL || size <= 0)
        return fprintf(stderr, "%s: %s\n", argv[1], reason), qmio_free(picture), qmio_close(media), 1;
    int frames = 0, result;
    while ((result = qmio_read_frame(media, picture)) != QMIO_NO_PICTURE)
        frames += result > QMIO_PICTURE_HELD;  // below 0: a damaged packet, after which reading goes on
    while (qmio_video_pkt(media, picture, NULL) > QMIO_PICTURE_HELD)  // what the decoder still holds at the end
        ++frames;
    printf("%d frames of %d x %d\n", frames, width, height);
    qmio_free(picture);
    qmio_close(media);
    return 0;
}
