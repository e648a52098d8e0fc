// hold-node PATH: stands for a program that takes pictures from a camera by its device node. Writes
// the time just before it opens the file (CLOCK_MONOTONIC, nanoseconds), opens and maps it, and
// holds it until it is ended.
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: hold-node PATH\n", stderr);
        return 2;
    }
    timespec begun{};
    clock_gettime(CLOCK_MONOTONIC, &begun);
    const int node = open(arguments[1], O_RDWR | O_CLOEXEC);
    if (node < 0 || mmap(nullptr, 4096, PROT_READ, MAP_SHARED, node, 0) == MAP_FAILED) {
        std::perror(arguments[1]);
        return 1;
    }
    std::printf("%lld\n", static_cast<long long>(begun.tv_sec) * 1'000'000'000LL + begun.tv_nsec);
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}
