/* read_sound FILE SECOND...: the loudest sample of the tenth of a second that begins at each of these, in any order. */
#include <qmio.h>
#include <stdio.h>
#include <stdlib.h>

enum { RATE = 48000, CHANNELS = 2, SAMPLES = RATE / 10 };

static int loudest(const int16_t* samples, int count) {
    int most = 0;
    for (int i = 0; i < count; ++i)
        most = abs(samples[i]) > most ? abs(samples[i]) : most;
    return most;
}

int main(int argc, char** argv) {
    static int16_t samples[SAMPLES * CHANNELS];
    MediaHandle* media = qmio_open_a(argc > 1 ? argv[1] : "");
    if (media == NULL || qmio_set_dst_audio(media, CHANNELS, RATE, QMIO_SAMPLES_S16) == 0)
        return fprintf(stderr, "usage: read_sound FILE SECOND...\n"), qmio_close(media), 1;
    for (int i = 2; i < argc; ++i) {
        const int64_t start = (int64_t)(atof(argv[i]) * (double)RATE); /* the sample, however far away */
        const int count = qmio_read_sound(media, 0, start, SAMPLES, samples, (int)sizeof samples);
        printf("%s s: %d samples, at most %d\n", argv[i], count, loudest(samples, count * CHANNELS));
    }
    qmio_close(media);
    return 0;
}
