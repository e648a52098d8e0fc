#include "integration/desktop/Desktop.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

namespace velmoran {

namespace {

struct FreeAnswer {
    void operator()(void* answer) const { std::free(answer); }
};
template <typename T>
using Answer = std::unique_ptr<T, FreeAnswer>;

Answer<xcb_intern_atom_reply_t> atomOf(xcb_connection_t* x, const char* name) {
    return Answer<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(
        x, xcb_intern_atom(x, 0, static_cast<std::uint16_t>(std::strlen(name)), name), nullptr));
}

bool isServer(const std::string& name) {
    return name == "display" || name == "window manager" || name == "bus";
}

} // namespace

void PrintTo(const DesktopState& state, std::ostream* stream) {
    *stream << state.windows << " windows, held " << state.held << ", desktop " << state.desktop
            << ", screen " << state.screen.width() << " x " << state.screen.height();
}

DesktopState OnADesktop::state() {
    auto* x = display.connection();
    DesktopState result;
    const Answer<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(x, xcb_query_tree(x, display.root()), nullptr));
    const Answer<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(x, xcb_query_pointer(x, display.root()), nullptr));
    const Answer<xcb_get_property_reply_t> desktop(xcb_get_property_reply(
        x,
        xcb_get_property(x, 0, display.root(), atomOf(x, "_NET_CURRENT_DESKTOP")->atom,
                         XCB_ATOM_CARDINAL, 0, 1),
        nullptr));
    const auto* windows = xcb_query_tree_children(tree.get());
    for (int i = 0; i < xcb_query_tree_children_length(tree.get()); ++i) {
        result.windows += isViewable(windows[i]) ? 1 : 0;
    }
    result.held = pointer->mask;
    if (xcb_get_property_value_length(desktop.get()) > 0) {
        result.desktop = *static_cast<std::uint32_t*>(xcb_get_property_value(desktop.get()));
    }
    result.screen = placeOf(display.root()).size();
    return result;
}

// By now the application's own windows have gone.
OnADesktop::~OnADesktop() {
    auto names = session.names();
    std::ranges::reverse(names);
    for (const auto& name : names) {
        if (!isServer(name)) {
            session.stop(name);
        }
    }
    EXPECT_TRUE(eventually([&] { return state() == stateBefore; }))
        << "before: " << ::testing::PrintToString(stateBefore)
        << "\nleft: " << ::testing::PrintToString(state());
}

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
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atomOf(x, "_NET_WM_STATE")->atom;
    event.data.data32[0] = 1; // add
    event.data.data32[1] = atomOf(x, "_NET_WM_STATE_FULLSCREEN")->atom;
    event.data.data32[3] = 1;
    xcb_send_event(x, 0, display.root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(x);
    EXPECT_TRUE(eventually([&] { return placeOf(window).size() == QSize(1280, 800); }));
}

} // namespace velmoran
