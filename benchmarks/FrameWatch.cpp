// frame-watch: prints when what can be seen in a part of an X display's screen becomes another
// picture, by the clock that the benchmarks' scripts use, one line each: "NANOSECONDS changed". It
// looks every half a millisecond. First it prints "NANOSECONDS ready"; it ends by a signal.
#include "support/XServer.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <thread>
#include <xcb/xcb.h>

namespace velmoran::support {
namespace {

// CLOCK_MONOTONIC, as Python's time.monotonic_ns().
long long now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<long long>(time.tv_sec) * 1'000'000'000LL + time.tv_nsec;
}

struct Part {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
};

std::string pixelsIn(const XServer& server, const Part& part) {
    const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> image(
        xcb_get_image_reply(server.connection(),
                            xcb_get_image(server.connection(), XCB_IMAGE_FORMAT_Z_PIXMAP,
                                          server.root(), part.x, part.y, part.width, part.height,
                                          ~0U),
                            nullptr),
        &std::free);
    return image ? std::string(reinterpret_cast<const char*>(xcb_get_image_data(image.get())),
                               static_cast<std::size_t>(xcb_get_image_data_length(image.get())))
                 : std::string();
}

int run(const Part& part) {
    const char* display = std::getenv("DISPLAY"); // NOLINT(concurrency-mt-unsafe)
    const XServer server(display ? display : "");
    auto last = pixelsIn(server, part);
    if (last.empty()) {
        std::fputs("frame-watch: no such part of a screen\n", stderr);
        return 1;
    }
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::printf("%lld ready\n", now());
    while (xcb_connection_has_error(server.connection()) == 0) {
        std::this_thread::sleep_for(std::chrono::microseconds(500));
        const auto pixels = pixelsIn(server, part);
        if (pixels != last) {
            std::printf("%lld changed\n", now());
            last = pixels;
        }
    }
    return 0;
}

} // namespace
} // namespace velmoran::support

int main(int count, char** arguments) {
    if (count != 5) {
        std::fputs("usage: frame-watch X Y WIDTH HEIGHT\n", stderr);
        return 2;
    }
    return velmoran::support::run({static_cast<std::int16_t>(std::atoi(arguments[1])),
                                   static_cast<std::int16_t>(std::atoi(arguments[2])),
                                   static_cast<std::uint16_t>(std::atoi(arguments[3])),
                                   static_cast<std::uint16_t>(std::atoi(arguments[4]))});
}
