#include "app/shell/surface/X11Window.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <xcb/shape.h>
#include <xcb/xcb.h>

namespace velmoran {

namespace {

xcb_atom_t atom(xcb_connection_t* x, const std::string& name) {
    const auto cookie =
        xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = owned(xcb_intern_atom_reply(x, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool hasExtension(xcb_connection_t* x, const std::string& name) {
    const auto cookie =
        xcb_query_extension(x, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = owned(xcb_query_extension_reply(x, cookie, nullptr));
    return reply && reply->present != 0;
}

/// None on another platform too.
xcb_window_t ownerOf(const std::string& selection) {
    auto* x = x11Connection();
    if (!x) {
        return XCB_WINDOW_NONE;
    }
    const auto cookie = xcb_get_selection_owner(x, atom(x, selection));
    const auto reply = owned(xcb_get_selection_owner_reply(x, cookie, nullptr));
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

constexpr const char* traySelection = "_NET_SYSTEM_TRAY_S0";

} // namespace

xcb_connection_t* x11Connection() {
    // Asked first: the native interface of another platform is no X11.
    if (QGuiApplication::platformName() != "xcb") {
        return nullptr;
    }
    const auto* native = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return native ? native->connection() : nullptr;
}

bool knowsTheMouse() {
    if (auto* x = x11Connection()) {
        // Newer servers of that kind name their screens as the compositor does, and offer the
        // extension; older ones have no extension.
        const auto screens = QGuiApplication::screens();
        return !hasExtension(x, "XWAYLAND") &&
               std::none_of(screens.begin(), screens.end(), [](const QScreen* screen) {
                   return screen->name().startsWith("XWAYLAND");
               });
    }
    return !QGuiApplication::platformName().startsWith("wayland");
}

bool hasCompositor() {
    return !x11Connection() || ownerOf("_NET_WM_CM_S0") != XCB_WINDOW_NONE;
}

bool hasXembedTray() {
    return ownerOf(traySelection) != XCB_WINDOW_NONE;
}

std::optional<QColor> xembedTrayForeground() {
    const auto tray = ownerOf(traySelection);
    if (tray == XCB_WINDOW_NONE) {
        return std::nullopt;
    }
    auto* x = x11Connection();
    const auto cookie =
        xcb_get_property(x, 0, tray, atom(x, "_NET_SYSTEM_TRAY_COLORS"), XCB_ATOM_CARDINAL, 0, 12);
    const auto reply = owned(xcb_get_property_reply(x, cookie, nullptr));
    if (!reply || reply->format != 32 || reply->value_len < 3) {
        return std::nullopt;
    }
    const auto* numbers = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    const auto part = [&](int which) {
        return static_cast<int>((numbers[which] >> 8) & 0xFF);
    };
    return QColor(part(0), part(1), part(2));
}

std::uint32_t x11Focus() {
    auto* x = x11Connection();
    if (!x) {
        return XCB_WINDOW_NONE;
    }
    const auto reply = owned(xcb_get_input_focus_reply(x, xcb_get_input_focus(x), nullptr));
    if (!reply || reply->focus == XCB_INPUT_FOCUS_POINTER_ROOT) {
        return XCB_WINDOW_NONE;
    }
    for (auto each = xcb_setup_roots_iterator(xcb_get_setup(x)); each.rem > 0;
         xcb_screen_next(&each)) {
        if (each.data->root == reply->focus) {
            return XCB_WINDOW_NONE;
        }
    }
    return reply->focus;
}

void setX11Focus(std::uint32_t window) {
    if (auto* x = x11Connection(); x && window != XCB_WINDOW_NONE) {
        xcb_set_input_focus(x, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
        xcb_flush(x);
    }
}

void setInputShape(QWidget& window, const QRegion& shape) {
    auto* x = x11Connection();
    if (!x || !window.internalWinId()) {
        return;
    }
    const auto extension = xcb_get_extension_data(x, &xcb_shape_id);
    if (!extension || !extension->present) {
        return;
    }
    const double scale = window.devicePixelRatioF();
    const auto pixels = [scale](int points) {
        return static_cast<int>(std::lround(points * scale));
    };
    std::vector<xcb_rectangle_t> rectangles;
    for (const auto& part : shape) {
        const int left = pixels(part.x());
        const int top = pixels(part.y());
        rectangles.push_back({static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
                              static_cast<std::uint16_t>(pixels(part.x() + part.width()) - left),
                              static_cast<std::uint16_t>(pixels(part.y() + part.height()) - top)});
    }
    xcb_shape_rectangles(x, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                         static_cast<xcb_window_t>(window.internalWinId()), 0, 0,
                         static_cast<std::uint32_t>(rectangles.size()), rectangles.data());
    xcb_flush(x);
}

QRegion roundedRegion(const QRect& rectangle, int radius) {
    const int corner = std::min({radius, rectangle.width() / 2, rectangle.height() / 2});
    QRegion region(rectangle.adjusted(0, corner, 0, -corner));
    for (int row = 0; row < corner; ++row) {
        // Where the circle crosses the middle of the row.
        const double away = corner - row - 0.5;
        const int in =
            corner - static_cast<int>(std::lround(std::sqrt(corner * corner - away * away)));
        const int width = rectangle.width() - 2 * in;
        region += QRect(rectangle.left() + in, rectangle.top() + row, width, 1);
        region += QRect(rectangle.left() + in, rectangle.bottom() - row, width, 1);
    }
    return region;
}

} // namespace velmoran
