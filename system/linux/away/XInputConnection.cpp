#include "system/linux/away/XInputConnection.h"

#include <cstdlib>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace velmoran {

namespace {

template <typename T>
struct FreeReply {
    void operator()(T* reply) const { std::free(reply); } // NOLINT: xcb's replies are malloc's
};
template <typename T>
using XReply = std::unique_ptr<T, FreeReply<T>>;

bool hasExtension(xcb_connection_t* connection, std::string_view name) {
    const XReply<xcb_query_extension_reply_t> reply(xcb_query_extension_reply(
        connection,
        xcb_query_extension(connection, static_cast<std::uint16_t>(name.size()), name.data()),
        nullptr));
    return reply && reply->present != 0;
}

/// Older ones haven't the extension that says so, but devices that are called so.
bool isXWayland(xcb_connection_t* connection) {
    if (hasExtension(connection, "XWAYLAND")) {
        return true;
    }
    const XReply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
    if (!reply) {
        return false;
    }
    for (auto at = xcb_input_xi_query_device_infos_iterator(reply.get()); at.rem > 0;
         xcb_input_xi_device_info_next(&at)) {
        const std::string_view name(xcb_input_xi_device_info_name(at.data), at.data->name_len);
        if (name.starts_with("xwayland-")) {
            return true;
        }
    }
    return false;
}

bool speaksRawEvents(xcb_connection_t* connection) {
    const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
    if (!extension || extension->present == 0) {
        return false;
    }
    const XReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection, xcb_input_xi_query_version(connection, 2, 2), nullptr));
    return version && std::pair(version->major_version, version->minor_version) >=
                          std::pair<std::uint16_t, std::uint16_t>(2, 2);
}

} // namespace

std::optional<InputUse> inputUseOf(std::uint16_t xInputEvent) {
    switch (xInputEvent) {
    case XCB_INPUT_RAW_KEY_PRESS:
        return InputUse::key;
    case XCB_INPUT_RAW_MOTION:
    case XCB_INPUT_RAW_TOUCH_UPDATE:
        return InputUse::motion;
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_TOUCH_BEGIN:
        return InputUse::press;
    default:
        return std::nullopt;
    }
}

std::unique_ptr<XInputConnection> XInputConnection::to(const std::string& display) {
    auto* connection = xcb_connect(display.c_str(), nullptr);
    if (xcb_connection_has_error(connection) != 0 || !speaksRawEvents(connection) ||
        isXWayland(connection)) {
        xcb_disconnect(connection);
        return nullptr;
    }
    // Raw events come to each root window, so one is enough.
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const auto* extension = xcb_get_extension_data(connection, &xcb_input_id);
    return std::unique_ptr<XInputConnection>(
        new XInputConnection(connection, root, extension->major_opcode));
}

XInputConnection::~XInputConnection() {
    xcb_disconnect(connection_);
}

int XInputConnection::descriptor() const {
    return xcb_get_file_descriptor(connection_);
}

bool XInputConnection::isLost() const {
    return xcb_connection_has_error(connection_) != 0;
}

void XInputConnection::ask(const std::bitset<inputUses>& uses) {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } asked{};
    asked.head.deviceid = XCB_INPUT_DEVICE_ALL_MASTER;
    asked.head.mask_len = 1;
    for (const std::uint16_t event :
         {XCB_INPUT_RAW_KEY_PRESS, XCB_INPUT_RAW_MOTION, XCB_INPUT_RAW_TOUCH_UPDATE,
          XCB_INPUT_RAW_BUTTON_PRESS, XCB_INPUT_RAW_TOUCH_BEGIN}) {
        if (const auto use = inputUseOf(event); uses[static_cast<std::size_t>(*use)]) {
            asked.mask |= std::uint32_t{1} << event;
        }
    }
    xcb_input_xi_select_events(connection_, root_, 1, &asked.head);
    xcb_flush(connection_);
}

std::optional<InputUse> XInputConnection::next() {
    while (auto* event = xcb_poll_for_event(connection_)) {
        const auto* general = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
        std::optional<InputUse> use;
        if ((general->response_type & 0x7F) == XCB_GE_GENERIC && general->extension == extension_) {
            use = inputUseOf(general->event_type);
        }
        // The key's code stands in it too, which is nobody's business.
        ::explicit_bzero(event, sizeof *general);
        std::free(event); // NOLINT: xcb's events are malloc's
        if (use) {
            return use;
        }
    }
    return std::nullopt;
}

XInputAttempt::XInputAttempt(const std::string& display) {
    std::promise<std::unique_ptr<XInputConnection>> promise;
    outcome_ = promise.get_future();
    std::thread([promise = std::move(promise), display]() mutable {
        promise.set_value(XInputConnection::to(display));
    }).detach();
}

bool XInputAttempt::isOver(std::chrono::milliseconds bound) const {
    return outcome_.wait_for(bound) == std::future_status::ready;
}

} // namespace velmoran
