#include "support/XServer.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <xcb/xcb.h>

namespace velmoran::support {

namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

} // namespace

XServer::XServer(const std::string& display) : connection_(xcb_connect(display.c_str(), &screen_)) {
    if (xcb_connection_has_error(connection_) == 0) {
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    }
}

XServer::~XServer() {
    xcb_disconnect(connection_);
}

std::uint32_t XServer::atom(const std::string& name) const {
    const auto cookie =
        xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, cookie, nullptr));
    return reply ? reply->atom : 0;
}

bool XServer::hasWindowManager() const {
    const auto cookie = xcb_get_property(connection_, 0, root_, atom("_NET_SUPPORTING_WM_CHECK"),
                                         XCB_ATOM_WINDOW, 0, 1);
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_, cookie, nullptr));
    return reply && reply->value_len == 1;
}

std::uint32_t XServer::trayOwner() const {
    const auto cookie =
        xcb_get_selection_owner(connection_, atom("_NET_SYSTEM_TRAY_S" + std::to_string(screen_)));
    const Reply<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection_, cookie, nullptr));
    return reply ? reply->owner : 0;
}

void XServer::sayTrayColors(const std::vector<std::uint32_t>& parts) const {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, trayOwner(),
                        atom("_NET_SYSTEM_TRAY_COLORS"), XCB_ATOM_CARDINAL, 32,
                        static_cast<std::uint32_t>(parts.size()), parts.data());
    xcb_flush(connection_);
}

bool XServer::hasTray() const {
    return trayOwner() != 0;
}

std::uint32_t XServer::parentOf(std::uint32_t window) const {
    const Reply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    return reply ? reply->parent : 0;
}

std::vector<std::uint32_t> XServer::childrenOf(std::uint32_t window) const {
    const Reply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
    if (!reply) {
        return {};
    }
    const auto* first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

std::string XServer::classOf(std::uint32_t window) const {
    const auto cookie =
        xcb_get_property(connection_, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 64);
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_, cookie, nullptr));
    if (!reply) {
        return {};
    }
    const auto* text = static_cast<const char*>(xcb_get_property_value(reply.get()));
    std::string result(text, static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    while (!result.empty() && result.back() == '\0') {
        result.pop_back();
    }
    std::ranges::transform(result, result.begin(), [](unsigned char c) {
        return c == 0 ? ' ' : static_cast<char>(std::tolower(c));
    });
    return result;
}

bool XServer::canBeSeen(std::uint32_t window) const {
    const Reply<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(
        connection_, xcb_get_window_attributes(connection_, window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::vector<std::uint32_t> XServer::visibleWindows(const std::string& windowClass) const {
    std::vector<std::uint32_t> result;
    if (root_ == 0) {
        return result;
    }
    std::vector<std::uint32_t> open{root_};
    while (!open.empty()) {
        const auto window = open.back();
        open.pop_back();
        for (const auto below : childrenOf(window)) {
            open.push_back(below);
            if (classOf(below).ends_with(" " + windowClass) && canBeSeen(below)) {
                result.push_back(below);
            }
        }
    }
    return result;
}

std::size_t XServer::width(std::uint32_t window) const {
    const Reply<xcb_get_geometry_reply_t> reply(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    return reply ? reply->width : 0;
}

bool XServer::isEmbedded(std::uint32_t window) const {
    // Toolkits let any window of theirs be embedded. One that is stands in another program's
    // window, which has a class; a window manager's frame has none.
    const auto cookie =
        xcb_get_property(connection_, 0, window, atom("_XEMBED_INFO"), XCB_ATOM_ANY, 0, 2);
    const Reply<xcb_get_property_reply_t> reply(
        xcb_get_property_reply(connection_, cookie, nullptr));
    if (!reply || reply->value_len < 2) {
        return false;
    }
    for (auto above = parentOf(window); above != root_ && above != 0; above = parentOf(above)) {
        if (!classOf(above).empty()) {
            return true;
        }
    }
    return false;
}

std::vector<std::uint32_t> XServer::dockedIcons() const {
    std::vector<std::uint32_t> result;
    if (root_ == 0) {
        return result;
    }
    std::vector<std::uint32_t> open = childrenOf(root_);
    while (!open.empty()) {
        const auto window = open.back();
        open.pop_back();
        for (const auto below : childrenOf(window)) {
            open.push_back(below);
            if (isEmbedded(below) && canBeSeen(below)) {
                result.push_back(below);
            }
        }
    }
    return result;
}

std::string XServer::picture(std::uint32_t window) const {
    const Reply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr));
    if (!size) {
        return {};
    }
    const Reply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(connection_,
                            xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0,
                                          size->width, size->height, ~0U),
                            nullptr));
    if (!image) {
        return {};
    }
    const auto* pixels = xcb_get_image_data(image.get());
    return {pixels, pixels + xcb_get_image_data_length(image.get())};
}

} // namespace velmoran::support
