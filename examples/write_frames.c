/*
 * write_frames FILE: writes two seconds of a moving grey ramp as Motion JPEG with a tone into an AVI file.
 */
#include <qmio.h>
#include <stdio.h>

enum { WIDTH = 320, HEIGHT = 240, FRAMES = 50, RATE = 48000, SAMPLES = RATE / 25 };

static uint8_t picture[WIDTH * HEIGHT * 3 / 2]; /* yuvj420p: luma, then two planes of chroma */
static int16_t sound[SAMPLES];

static void draw(int frame) {
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x)
            picture[y * WIDTH + x] = (uint8_t)(x + 4 * frame);
    for (int i = WIDTH * HEIGHT; i < WIDTH * HEIGHT * 3 / 2; ++i)
        picture[i] = 128;
}

static void play(int frame) {
    for (int i = 0; i < SAMPLES; ++i)
        sound[i] = (int16_t)((frame * SAMPLES + i) % 96 < 48 ? 2000 : -2000); /* 500 Hz */
}

int main(int argc, char** argv) {
    MediaHandle* file = qmio_create_a(argc > 1 ? argv[1] : "",
                                      "fmt=avi,vcodec=mjpeg,size=320x240,pix=yuvj420p,r=25,"
                                      "acodec=pcm_s16le,ar=48000,ac=1,afmt=s16");
    if (file == NULL)
        return fprintf(stderr, "usage: write_frames FILE.avi\n"), 1;
    int failed = 0;
    for (int frame = 0; frame < FRAMES; ++frame) {
        draw(frame);
        play(frame);
        failed += qmio_write_frame(file, picture) < 0;
        failed += qmio_write_audio(file, (const uint8_t*)sound, sizeof sound) < 0;
    }
    qmio_close(file); /* completes the file */
    printf("%d frames, %d failures\n", FRAMES, failed);
    return failed != 0;
}
