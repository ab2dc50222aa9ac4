#include <qmio.h>
#include <stdio.h>

int main(void) {
    printf("built for %s, runs with %s\n", QMIO_VERSION_STRING, qmio_get_file_info(NULL, "ver"));
    return 0;
}
