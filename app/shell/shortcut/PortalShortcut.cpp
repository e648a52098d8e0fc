#include "app/shell/shortcut/PortalShortcut.h"

#include "app/bus/BusProperties.h"
#include "core/text/Localizer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";
constexpr const char* service = "org.freedesktop.portal.Desktop";
constexpr const char* desktopPath = "/org/freedesktop/portal/desktop";
constexpr const char* shortcutsInterface = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* requestInterface = "org.freedesktop.portal.Request";
constexpr const char* sessionInterface = "org.freedesktop.portal.Session";
constexpr const char* stopName = "stop";
/// In the way in which the portals write keys.
constexpr const char* stopTrigger = "CTRL+ALT+LOGO+period";

bool isError(sd_bus_message* reply) {
    return sd_bus_message_is_method_error(reply, nullptr) != 0;
}

/// Null if one of the names can't be.
BusMessage newCall(sd_bus* bus, const std::string& receiver, const std::string& path,
                   const char* interface, const char* method) {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus, &made, receiver.c_str(), path.c_str(), interface, method);
    return BusMessage(made);
}

std::string pathOfSignal(sd_bus_message* signal) {
    const char* path = sd_bus_message_get_path(signal);
    return path ? path : "";
}

/// The text or path under that key in the a{sv} that comes next; empty if there is none.
std::string entry(sd_bus_message* message, const char* wanted) {
    std::string found;
    if (sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return found;
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* key = nullptr;
        const char* content = nullptr;
        if (sd_bus_message_read(message, "s", &key) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &content) <= 0) {
            break;
        }
        const char* text = nullptr;
        const bool isText = std::strcmp(content, "s") == 0 || std::strcmp(content, "o") == 0;
        if (std::strcmp(key, wanted) != 0 || !isText) {
            sd_bus_message_skip(message, "v");
        } else if (sd_bus_message_read(message, "v", content, &text) > 0) {
            found = text;
        }
        sd_bus_message_exit_container(message);
    }
    return found;
}

} // namespace

PortalShortcut::PortalShortcut(std::function<void()> pressed, std::function<void()> refused,
                               std::chrono::milliseconds patience)
    : pressed_(std::move(pressed)),
      refused_(std::move(refused)),
      patience_(patience) {
    due_.setSingleShot(true);
    due_.callOnTimeout(this, [this] { refuse(); });
}

PortalShortcut::~PortalShortcut() {
    if (session_.empty() || !link_) {
        return;
    }
    // Its path is known from the asking on, so one that is only just being made is closed too.
    if (const auto close = newCall(link_->bus(), owner_, session_, sessionInterface, "Close")) {
        sd_bus_message_set_expect_reply(close.get(), 0);
        sd_bus_send(link_->bus(), close.get(), nullptr);
    }
}

template <PortalShortcut::Reply reply>
int PortalShortcut::received(sd_bus_message* message, void* shortcut, sd_bus_error*) {
    (static_cast<PortalShortcut*>(shortcut)->*reply)(message);
    return 0;
}

bool PortalShortcut::ask() {
    link_ = BusLink::open(sessionBusAddress(), {.lost = [this] {
                              refuse();
                          }});
    if (!link_) {
        return false;
    }
    sd_bus_set_method_call_timeout(
        link_->bus(), static_cast<std::uint64_t>(std::chrono::microseconds(patience_).count()));
    // Of this name only, or else every program that comes or goes would wake us.
    const auto ofThePortal = std::string("type='signal',sender='") + busName +
                             "',member='NameOwnerChanged',arg0='" + service + "'";
    if (sd_bus_add_match_async(link_->bus(), nullptr, ofThePortal.c_str(),
                               &received<&PortalShortcut::ownerChanged>, nullptr, this) < 0) {
        link_.reset();
        return false;
    }
    due_.start(patience_);
    askForOwner();
    link_->rearm();
    return true;
}

void PortalShortcut::askForOwner() {
    const auto question = newCall(link_->bus(), busName, busPath, busName, "GetNameOwner");
    sd_bus_message_append(question.get(), "s", service);
    call(question, &received<&PortalShortcut::ownerCame>);
}

void PortalShortcut::started(sd_bus_message* reply) {
    if (isError(reply)) {
        refuse();
    } else {
        askForOwner();
    }
}

void PortalShortcut::ownerCame(sd_bus_message* reply) {
    const char* owner = nullptr;
    if (isError(reply) && !std::exchange(isStarting_, true)) {
        // A bus starts what it can, and knows no other way of a program that doesn't run.
        const auto start = newCall(link_->bus(), busName, busPath, busName, "StartServiceByName");
        sd_bus_message_append(start.get(), "su", service, 0U);
        call(start, &received<&PortalShortcut::started>);
        return;
    }
    if (isError(reply) || sd_bus_message_read(reply, "s", &owner) <= 0) {
        refuse();
        return;
    }
    owner_ = owner;
    // From its own name only: others may send us what they like.
    if (!listen(owner, nullptr, requestInterface, "Response",
                &received<&PortalShortcut::responded>) ||
        !listen(owner, desktopPath, shortcutsInterface, "Activated",
                &received<&PortalShortcut::activated>) ||
        !listen(owner, nullptr, sessionInterface, "Closed", &received<&PortalShortcut::closed>)) {
        refuse();
        return;
    }
    createSession();
}

void PortalShortcut::createSession() {
    const auto token = newToken();
    const auto sessionToken = newToken();
    const auto message =
        newCall(link_->bus(), owner_, desktopPath, shortcutsInterface, "CreateSession");
    sd_bus_message_append(message.get(), "a{sv}", 2, "handle_token", "s", token.c_str(),
                          "session_handle_token", "s", sessionToken.c_str());
    // The answer may come before the call returns, so its path is known before.
    request_ = pathOf("request", token);
    session_ = pathOf("session", sessionToken);
    due_.start(patience_);
    call(message, &received<&PortalShortcut::accepted>);
}

void PortalShortcut::bindShortcut() {
    const auto token = newToken();
    const auto message =
        newCall(link_->bus(), owner_, desktopPath, shortcutsInterface, "BindShortcuts");
    const auto description = bus::busText(words().text("Stop camera and microphone"));
    sd_bus_message_append(message.get(), "oa(sa{sv})sa{sv}", session_.c_str(), 1, stopName, 2,
                          "description", "s", description.c_str(), "preferred_trigger", "s",
                          stopTrigger, "", 1, "handle_token", "s", token.c_str());
    request_ = pathOf("request", token);
    isBinding_ = true;
    call(message, &received<&PortalShortcut::accepted>);
}

void PortalShortcut::accepted(sd_bus_message* reply) {
    const char* path = nullptr;
    if (isError(reply) || sd_bus_message_read(reply, "o", &path) <= 0) {
        refuse();
    } else if (!request_.empty()) {
        request_ = path; // another one with portals of old
    }
}

void PortalShortcut::responded(sd_bus_message* signal) {
    std::uint32_t response = 0;
    if (request_.empty() || pathOfSignal(signal) != request_ ||
        sd_bus_message_read(signal, "u", &response) <= 0) {
        return;
    }
    request_.clear();
    if (!isBinding_) {
        sessionCame(response, entry(signal, "session_handle"));
    } else if (response != 0) {
        refuse();
    }
}

void PortalShortcut::sessionCame(std::uint32_t response, const std::string& handle) {
    due_.stop(); // what comes next the user may be asked about
    if (response != 0 || sd_bus_object_path_is_valid(handle.c_str()) <= 0) {
        session_.clear();
        refuse();
        return;
    }
    session_ = handle;
    bindShortcut();
}

void PortalShortcut::activated(sd_bus_message* signal) {
    const char* session = nullptr;
    const char* name = nullptr;
    if (sd_bus_message_read(signal, "os", &session, &name) <= 0 || session_ != session ||
        std::strcmp(name, stopName) != 0) {
        return;
    }
    // Not in a call of the link, as the press may switch the shortcut off.
    QMetaObject::invokeMethod(
        this, [run = pressed_] { run(); }, Qt::QueuedConnection);
}

void PortalShortcut::closed(sd_bus_message* signal) {
    if (!session_.empty() && pathOfSignal(signal) == session_) {
        session_.clear();
        refuse();
    }
}

void PortalShortcut::ownerChanged(sd_bus_message* signal) {
    const char* name = nullptr;
    const char* before = nullptr;
    if (sd_bus_message_read(signal, "ss", &name, &before) > 0 && !owner_.empty() &&
        owner_ == before) {
        session_.clear();
        refuse();
    }
}

void PortalShortcut::refuse() {
    due_.stop();
    if (const auto refused = std::exchange(refused_, nullptr)) {
        refused();
    }
}

void PortalShortcut::call(const BusMessage& message, sd_bus_message_handler_t answered) {
    if (!message ||
        sd_bus_call_async(link_->bus(), nullptr, message.get(), answered, this, 0) < 0) {
        refuse();
    }
}

bool PortalShortcut::listen(const char* sender, const char* path, const char* interface,
                            const char* member, sd_bus_message_handler_t heard) {
    return sd_bus_match_signal_async(link_->bus(), nullptr, sender, path, interface, member, heard,
                                     nullptr, this) >= 0;
}

std::string PortalShortcut::newToken() {
    return "velmoran" + std::to_string(++tokens_);
}

std::string PortalShortcut::pathOf(const char* kind, const std::string& token) const {
    const char* own = nullptr;
    std::string sender;
    if (sd_bus_get_unique_name(link_->bus(), &own) >= 0) {
        sender = own + 1; // after the colon
    }
    std::replace(sender.begin(), sender.end(), '.', '_');
    return std::string(desktopPath) + "/" + kind + "/" + sender + "/" + token;
}

} // namespace velmoran
