#include "app/shell/surface/X11TrayWatch.h"

#include "app/shell/surface/X11Window.h"

#include <string>
#include <utility>
#include <xcb/xcb.h>

namespace velmoran {

namespace {

std::uint32_t atomOf(xcb_connection_t* x, const std::string& name) {
    const auto cookie =
        xcb_intern_atom(x, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const auto reply = owned(xcb_intern_atom_reply(x, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void listen(xcb_connection_t* x, std::uint32_t window, std::uint32_t events) {
    xcb_change_window_attributes(x, window, XCB_CW_EVENT_MASK, &events);
}

} // namespace

X11TrayWatch::X11TrayWatch(std::function<void()> changed) : changed_(std::move(changed)) {
    // Qt's own connection hears of a tray's window only what Qt wants to know.
    int screen = 0;
    if (x11Connection()) {
        x_ = xcb_connect(nullptr, &screen);
    }
    if (!x_ || xcb_connection_has_error(x_) != 0) {
        return;
    }
    auto each = xcb_setup_roots_iterator(xcb_get_setup(x_));
    for (; each.rem > 1 && screen > 0; --screen) {
        xcb_screen_next(&each);
    }
    root_ = each.data->root;
    begin();
}

X11TrayWatch::~X11TrayWatch() {
    notifier_.reset();
    if (x_) {
        xcb_disconnect(x_);
    }
}

void X11TrayWatch::begin() {
    selection_ = atomOf(x_, "_NET_SYSTEM_TRAY_S0");
    manager_ = atomOf(x_, "MANAGER");
    colors_ = atomOf(x_, "_NET_SYSTEM_TRAY_COLORS");
    // Whoever becomes the tray tells the root window's listeners.
    listen(x_, root_, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    followOwner();
    notifier_ =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(x_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [this] { read(); });
    // What an answer has brought along already, the socket tells no more.
    QMetaObject::invokeMethod(
        notifier_.get(), [this] { read(); }, Qt::QueuedConnection);
}

void X11TrayWatch::followOwner() {
    const auto reply =
        owned(xcb_get_selection_owner_reply(x_, xcb_get_selection_owner(x_, selection_), nullptr));
    owner_ = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (owner_ != XCB_WINDOW_NONE) {
        listen(x_, owner_, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
    xcb_flush(x_);
}

void X11TrayWatch::read() {
    bool hasChanged = false;
    while (const auto event = owned(xcb_poll_for_event(x_))) {
        constexpr std::uint8_t sentByClient = 0x80;
        switch (event->response_type & ~sentByClient) {
        case XCB_CLIENT_MESSAGE: {
            const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
            if (message->type == manager_ && message->data.data32[1] == selection_) {
                followOwner();
                hasChanged = true;
            }
            break;
        }
        case XCB_DESTROY_NOTIFY: {
            const auto* gone = reinterpret_cast<const xcb_destroy_notify_event_t*>(event.get());
            if (gone->window == owner_) {
                followOwner();
                hasChanged = true;
            }
            break;
        }
        case XCB_PROPERTY_NOTIFY: {
            const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event.get());
            hasChanged = hasChanged || (change->window == owner_ && change->atom == colors_);
            break;
        }
        default:
            break;
        }
    }
    if (xcb_connection_has_error(x_) != 0) {
        notifier_->setEnabled(false); // the server has gone, and Qt ends the program for it
        return;
    }
    if (hasChanged) {
        changed_();
    }
}

} // namespace velmoran
