// silence-watch SOURCE: records from a source of the sound server and prints when it begins to hear
// sound and when it has received its first buffer of nothing but zeros, one line for each change:
//   NANOSECONDS sound|silence
// by the clock that the benchmarks' scripts use. A buffer is 5 ms. SIGTERM doesn't end it, so that
// a stop which closes recorders leaves it to hear the silence.
#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <optional>
#include <pulse/simple.h>

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: silence-watch SOURCE\n");
        return 2;
    }
    signal(SIGTERM, SIG_IGN); // NOLINT(cert-err33-c)
    std::array<std::int16_t, 240> buffer{};
    pa_sample_spec format{};
    format.format = PA_SAMPLE_S16LE;
    format.rate = 48000;
    format.channels = 1;
    pa_buffer_attr sizes{};
    sizes.maxlength = static_cast<std::uint32_t>(-1);
    sizes.fragsize = sizeof buffer;
    int error = 0;
    pa_simple* stream = pa_simple_new(nullptr, "silence-watch", PA_STREAM_RECORD, arguments[1],
                                      "watch", &format, nullptr, &sizes, &error);
    std::optional<bool> heard;
    while (stream && pa_simple_read(stream, buffer.data(), sizeof buffer, &error) >= 0) {
        const bool isSound =
            std::any_of(buffer.begin(), buffer.end(), [](auto sample) { return sample != 0; });
        if (heard != isSound) {
            heard = isSound;
            timespec time{};
            clock_gettime(CLOCK_MONOTONIC, &time);
            std::printf("%lld %s\n",
                        static_cast<long long>(time.tv_sec) * 1'000'000'000LL + time.tv_nsec,
                        isSound ? "sound" : "silence");
            std::fflush(stdout);
        }
    }
    std::fprintf(stderr, "silence-watch: error %d\n", error);
    return 1;
}
