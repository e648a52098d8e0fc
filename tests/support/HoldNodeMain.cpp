// hold-node [--hide] PATH: stands for a program that takes pictures from a camera by its device
// node. Writes the time just before it opens the file (CLOCK_MONOTONIC, nanoseconds), opens and
// maps it, and holds it until it is ended. With --hide it forbids all others to look at it, before
// anything else.
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

int main(int count, char** arguments) {
    const bool hides = count == 3 && std::strcmp(arguments[1], "--hide") == 0;
    if (count != 2 && !hides) {
        std::fputs("usage: hold-node [--hide] PATH\n", stderr);
        return 2;
    }
    if (hides && prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0) {
        std::perror("prctl");
        return 1;
    }
    const char* path = arguments[count - 1];
    timespec begun{};
    clock_gettime(CLOCK_MONOTONIC, &begun);
    const int node = open(path, O_RDWR | O_CLOEXEC);
    if (node < 0 || mmap(nullptr, 4096, PROT_READ, MAP_SHARED, node, 0) == MAP_FAILED) {
        std::perror(path);
        return 1;
    }
    std::printf("%lld\n", static_cast<long long>(begun.tv_sec) * 1'000'000'000LL + begun.tv_nsec);
    std::fflush(stdout);
    for (;;) {
        pause();
    }
}
