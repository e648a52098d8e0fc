// window-watch: prints when windows of one program come onto an X display and go from it, by the
// clock that the benchmarks' scripts use, one line each:
//   NANOSECONDS map|unmap WINDOW WIDTHxHEIGHT window|icon
// "icon" is a window that is embedded in a tray. What stands there already is printed first, then
// "NANOSECONDS ready". Ends with the server or by a signal.
#include "support/XServer.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <set>
#include <string>
#include <vector>
#include <xcb/xcb.h>

namespace velmoran::support {
namespace {

// CLOCK_MONOTONIC, as Python's time.monotonic_ns().
long long now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<long long>(time.tv_sec) * 1'000'000'000LL + time.tv_nsec;
}

class Watch {
public:
    Watch(XServer& server, std::string windowClass)
        : server_(server),
          class_(std::move(windowClass)) {}

    // A window is looked at from its birth, so that its own mapping is told also when a window
    // manager has put it into a frame by then.
    void watchWindow(std::uint32_t window) {
        const std::uint32_t events =
            XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(server_.connection(), window, XCB_CW_EVENT_MASK, &events);
    }

    /// On a busy machine it can be on the screen, inside a tray even, before it is looked at.
    void bornWindow(std::uint32_t window) {
        watchWindow(window);
        auto* connection = server_.connection();
        auto* attributes = xcb_get_window_attributes_reply(
            connection, xcb_get_window_attributes(connection, window), nullptr);
        const bool isShown = attributes && attributes->map_state != XCB_MAP_STATE_UNMAPPED;
        std::free(attributes);
        if (isShown) {
            mapped(now(), window);
        }
    }

    void mapped(long long time, std::uint32_t window) {
        if (shown_.contains(window) || !server_.classOf(window).ends_with(" " + class_)) {
            return;
        }
        shown_.insert(window);
        print(time, "map", window);
    }

    void unmapped(long long time, std::uint32_t window) {
        if (shown_.erase(window) > 0) {
            print(time, "unmap", window);
        }
    }

private:
    void print(long long time, const char* what, std::uint32_t window) {
        auto* connection = server_.connection();
        auto* geometry =
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
        std::printf("%lld %s %u %dx%d %s\n", time, what, window, geometry ? geometry->width : 0,
                    geometry ? geometry->height : 0,
                    server_.isEmbedded(window) ? "icon" : "window");
        std::free(geometry);
    }

    XServer& server_;
    std::string class_;
    std::set<std::uint32_t> shown_;
};

int run(const std::string& windowClass) {
    const char* display = std::getenv("DISPLAY"); // NOLINT(concurrency-mt-unsafe)
    XServer server(display ? display : "");
    auto* connection = server.connection();
    if (xcb_connection_has_error(connection) != 0) {
        std::fputs("window-watch: no display\n", stderr);
        return 1;
    }
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    Watch watch(server, windowClass);
    watch.watchWindow(server.root());
    for (const auto window : server.visibleWindows(windowClass)) {
        watch.watchWindow(window);
        watch.mapped(now(), window);
    }
    std::printf("%lld ready\n", now());
    xcb_flush(connection);
    while (auto* event = xcb_wait_for_event(connection)) {
        const long long time = now();
        switch (event->response_type & 0x7F) {
        case XCB_CREATE_NOTIFY:
            watch.bornWindow(reinterpret_cast<xcb_create_notify_event_t*>(event)->window);
            break;
        case XCB_MAP_NOTIFY:
            watch.mapped(time, reinterpret_cast<xcb_map_notify_event_t*>(event)->window);
            break;
        case XCB_UNMAP_NOTIFY:
            watch.unmapped(time, reinterpret_cast<xcb_unmap_notify_event_t*>(event)->window);
            break;
        case XCB_DESTROY_NOTIFY:
            watch.unmapped(time, reinterpret_cast<xcb_destroy_notify_event_t*>(event)->window);
            break;
        default:
            break;
        }
        std::free(event);
        xcb_flush(connection);
    }
    return 0;
}

} // namespace
} // namespace velmoran::support

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: window-watch CLASS\n", stderr);
        return 2;
    }
    return velmoran::support::run(arguments[1]);
}
