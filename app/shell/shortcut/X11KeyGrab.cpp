#include "app/shell/shortcut/X11KeyGrab.h"

#include "app/shell/surface/X11Window.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <utility>
#include <vector>

#include <xcb/xcb.h>

namespace velmoran {

namespace {

/// Longer than any wait before a held key repeats; a release that got lost ends with it.
constexpr std::uint32_t heldMilliseconds = 2000;

// Of X11/extensions/XKB.h, whose events have their kind in the second byte.
constexpr std::uint8_t newKeyboard = 0;
constexpr std::uint8_t newMap = 1;

std::optional<X11Keyboard> keyboardOf(xcb_connection_t* x) {
    const auto* setup = xcb_get_setup(x);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto keysAsked = xcb_get_keyboard_mapping(x, setup->min_keycode, count);
    const auto modifiersAsked = xcb_get_modifier_mapping(x);
    const auto keys = owned(xcb_get_keyboard_mapping_reply(x, keysAsked, nullptr));
    const auto modifiers = owned(xcb_get_modifier_mapping_reply(x, modifiersAsked, nullptr));
    if (!keys || !modifiers) {
        return std::nullopt;
    }
    const auto* symbols = xcb_get_keyboard_mapping_keysyms(keys.get());
    const auto* codes = xcb_get_modifier_mapping_keycodes(modifiers.get());
    return X11Keyboard{
        .firstKeyCode = setup->min_keycode,
        .symbolsPerKey = keys->keysyms_per_keycode,
        .symbols = {symbols, symbols + xcb_get_keyboard_mapping_keysyms_length(keys.get())},
        .keysPerModifier = modifiers->keycodes_per_modifier,
        .modifierKeys = {codes, codes + xcb_get_modifier_mapping_keycodes_length(modifiers.get())}};
}

std::vector<xcb_window_t> rootsOf(xcb_connection_t* x) {
    std::vector<xcb_window_t> result;
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(x)); screen.rem > 0;
         xcb_screen_next(&screen)) {
        result.push_back(screen.data->root);
    }
    return result;
}

} // namespace

X11KeyGrab::X11KeyGrab(std::function<void()> pressed, std::function<void()> lost)
    : pressed_(std::move(pressed)),
      lost_(std::move(lost)) {}

X11KeyGrab::~X11KeyGrab() {
    release();
}

bool X11KeyGrab::acquire() {
    release();
    auto* x = x11Connection();
    if (!x) {
        return false;
    }
    const auto keyboard = keyboardOf(x);
    const auto keys = keyboard ? stopKeys(*keyboard) : std::nullopt;
    if (!keys) {
        return false;
    }
    // All are asked for before the first answer is waited for.
    std::vector<xcb_void_cookie_t> asked;
    for (const auto root : rootsOf(x)) {
        for (const auto mask : keys->masks()) {
            asked.push_back(xcb_grab_key_checked(x, 0, root, mask, keys->keyCode,
                                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        }
    }
    bool allAcquired = true;
    for (const auto& each : asked) {
        allAcquired = !owned(xcb_request_check(x, each)) && allAcquired;
    }
    keys_ = keys;
    if (!allAcquired) {
        release();
        return false;
    }
    const char name[] = "XKEYBOARD";
    const auto extension =
        owned(xcb_query_extension_reply(x, xcb_query_extension(x, sizeof name - 1, name), nullptr));
    keyboardEvents_ = extension && extension->present ? extension->first_event : 0;
    QCoreApplication::instance()->installNativeEventFilter(this);
    return true;
}

void X11KeyGrab::release() {
    if (!keys_) {
        return;
    }
    QCoreApplication::instance()->removeNativeEventFilter(this);
    if (auto* x = x11Connection()) {
        // Of what another program has, nothing is taken away by this.
        for (const auto root : rootsOf(x)) {
            for (const auto mask : keys_->masks()) {
                xcb_ungrab_key(x, keys_->keyCode, root, mask);
            }
        }
        xcb_flush(x);
    }
    keys_.reset();
    isHeld_ = false;
}

bool X11KeyGrab::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t" || !keys_) {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    const auto kind = static_cast<std::uint8_t>(event->response_type & 0x7FU);
    // A release has the form of a press.
    const auto* key = static_cast<const xcb_key_press_event_t*>(message);
    if (kind == XCB_KEY_RELEASE && key->detail == keys_->keyCode && isHeld_) {
        isHeld_ = false;
        lastRelease_ = key->time;
        return true;
    }
    if (kind == XCB_KEY_PRESS && keys_->matches(key->detail, key->state)) {
        press(key->time);
        return true;
    }
    const bool ofKeyboard = keyboardEvents_ != 0 && kind == keyboardEvents_ &&
                            (event->pad0 == newKeyboard || event->pad0 == newMap);
    // One change comes as many events.
    if ((kind == XCB_MAPPING_NOTIFY || ofKeyboard) && !std::exchange(isChanging_, true)) {
        QMetaObject::invokeMethod(
            this, [this] { reacquire(); }, Qt::QueuedConnection);
    }
    return false;
}

void X11KeyGrab::press(std::uint32_t time) {
    // A key that is held repeats, either as presses alone or with a release at the same moment.
    const bool repeats = (isHeld_ && time - lastPress_ < heldMilliseconds) ||
                         (lastPress_ != 0 && time == lastRelease_);
    isHeld_ = true;
    lastPress_ = time;
    if (!repeats) {
        QMetaObject::invokeMethod(
            this, [this] { pressed_(); }, Qt::QueuedConnection);
    }
}

void X11KeyGrab::reacquire() {
    isChanging_ = false;
    auto* x = x11Connection();
    const auto keyboard = x ? keyboardOf(x) : std::nullopt;
    if (keyboard && stopKeys(*keyboard) == keys_) {
        return;
    }
    if (!acquire()) {
        lost_();
    }
}

} // namespace velmoran
