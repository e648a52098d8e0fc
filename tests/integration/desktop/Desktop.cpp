#include "integration/desktop/Desktop.h"

#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace velmoran {

bool OnADesktop::isViewable(std::uint32_t window) {
    auto* x = display.connection();
    auto* answer =
        xcb_get_window_attributes_reply(x, xcb_get_window_attributes(x, window), nullptr);
    const bool seen = answer != nullptr && answer->map_state == XCB_MAP_STATE_VIEWABLE;
    std::free(answer);
    return seen;
}

QRect OnADesktop::placeOf(std::uint32_t window) {
    auto* x = display.connection();
    auto* answer = xcb_get_geometry_reply(x, xcb_get_geometry(x, window), nullptr);
    const QRect result =
        answer != nullptr ? QRect(answer->x, answer->y, answer->width, answer->height) : QRect();
    std::free(answer);
    return result;
}

void OnADesktop::makeFullScreen(std::uint32_t window) {
    auto* x = display.connection();
    const auto atom = [x](const char* name) {
        auto* answer = xcb_intern_atom_reply(
            x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr);
        const auto result = answer->atom;
        std::free(answer);
        return result;
    };
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom("_NET_WM_STATE");
    event.data.data32[0] = 1; // add
    event.data.data32[1] = atom("_NET_WM_STATE_FULLSCREEN");
    event.data.data32[3] = 1;
    xcb_send_event(x, 0, display.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(x);
    EXPECT_TRUE(eventually([&] { return placeOf(window).size() == QSize(1280, 800); }));
}

} // namespace velmoran
