/* Reads a video from its first picture to its last, as BGRA. sequential_speed FILE prints
 *   FRAMES SECONDS PROCESSOR_SECONDS
 * Built with the library's header alone, so that it measures the library of either system in the same way. */
#include <qmio.h>
#include <stdio.h>
#include <time.h>

#ifdef _WIN32
#include <windows.h>

/* The C library's clock() counts the time of day here. */
static double processor_seconds(void) {
    FILETIME created, ended, system, user;
    ULARGE_INTEGER ticks;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &system, &user);
    ticks.LowPart = user.dwLowDateTime;
    ticks.HighPart = user.dwHighDateTime;
    return (double)ticks.QuadPart / 1e7;
}
#else
#include <sys/resource.h>

static double processor_seconds(void) {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return (double)usage.ru_utime.tv_sec + (double)usage.ru_utime.tv_usec / 1e6;
}
#endif

static double seconds(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

static int read_all(MediaHandle* media, uint8_t* picture) {
    int frames = 0, result;
    while ((result = qmio_read_frame(media, picture)) != 0)
        frames += result > 1;
    while (qmio_video_pkt(media, picture, NULL) > 1)
        ++frames;
    return frames;
}

int main(int argc, char** argv) {
    MediaHandle* media = qmio_open_a(argc > 1 ? argv[1] : "");
    if (media == NULL || qmio_get_file_param(media, "nvideo") < 1)
        return fprintf(stderr, "usage: sequential_speed VIDEO\n"), qmio_close(media), 1;
    uint8_t* picture =
        qmio_alloc((int)(qmio_get_file_param(media, "width") * qmio_get_file_param(media, "height") * 4));
    const double begin = seconds(), processor_begin = processor_seconds();
    const int frames = read_all(media, picture);
    printf("%d %.3f %.3f\n", frames, seconds() - begin, processor_seconds() - processor_begin);
    qmio_free(picture);
    qmio_close(media);
    return 0;
}
