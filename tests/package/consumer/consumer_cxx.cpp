#include <qmio.h>
#include <cstdio>

int main() {
    std::printf("built for %s, runs with %s\n", QMIO_VERSION_STRING, qmio_get_file_info(nullptr, "ver"));
}
