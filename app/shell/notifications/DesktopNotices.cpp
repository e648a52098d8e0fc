#include "app/shell/notifications/DesktopNotices.h"

#include "app/bus/BusProperties.h"
#include "app/shell/notifications/NotificationText.h"
#include "core/text/Localizer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* iconName = "org.velmoran.Velmoran";
constexpr const char* opening = "default"; ///< the action of a click beside the buttons
constexpr std::uint8_t critical = 2;
constexpr std::int32_t never = 0;
constexpr std::uint64_t forEver = UINT64_MAX;
constexpr std::uint32_t byThePerson = 2;
constexpr std::size_t mostButtons = 8;

BusMessage newCall(sd_bus* bus, const char* method) {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus, &made, service, path, service, method);
    return BusMessage(made);
}

bool isError(sd_bus_message* reply) {
    return sd_bus_message_is_method_error(reply, nullptr) != 0;
}

/// With how often, where it stands for several.
std::string messageOf(const NoticeItem& item) {
    auto message = item.message.value_or("");
    if (!item.older.empty()) {
        message += message.empty() ? "" : "\n";
        message += words().text("%lld times", {std::to_string(item.older.size() + 1)});
    }
    return message;
}

/// What is news to a person: that there are fewer of its app is none, and another one is a notice
/// of its own.
std::string tellingOf(const NoticeItem& item) {
    std::string all = item.title + '\n' + item.message.value_or("");
    for (const auto& button : item.buttons) {
        all += '\n' + button.title;
    }
    return all;
}

} // namespace

DesktopNotices::DesktopNotices(NoticeCenter& notices, Options options)
    : notices_(notices, [this] { update(); }),
      options_(std::move(options)) {
    again_.setSingleShot(true);
    again_.setInterval(options_.pause);
    again_.callOnTimeout(this, [this] { tryAgain(); });
    due_.setSingleShot(true);
    due_.setInterval(options_.patience);
    due_.callOnTimeout(this, [this] { complain("the desktop's notifications don't answer"); });
    connect();
}

DesktopNotices::~DesktopNotices() {
    disconnect();
}

template <DesktopNotices::Heard heard>
int DesktopNotices::received(sd_bus_message* message, void* notices, sd_bus_error*) {
    (static_cast<DesktopNotices*>(notices)->*heard)(message);
    return 0;
}

int DesktopNotices::answered(sd_bus_message* reply, void* shown, sd_bus_error*) {
    auto& one = *static_cast<Shown*>(shown);
    one.owner->sent(one, reply);
    return 0;
}

void DesktopNotices::connect() {
    disconnect();
    link_ = BusLink::open(sessionBusAddress(), {.lost = [this] {
                              isLost_ = true;
                              failed("the session bus is gone");
                          }});
    if (!link_) {
        failed("there is no session bus");
        return;
    }
    isLost_ = false;
    const auto ofTheService = std::string("type='signal',sender='") + busName +
                              "',member='NameOwnerChanged',arg0='" + service + "'";
    const auto listen = [this](const char* member, sd_bus_message_handler_t heard) {
        return sd_bus_match_signal_async(link_->bus(), nullptr, service, path, service, member,
                                         heard, nullptr, this) >= 0;
    };
    if (sd_bus_add_match_async(link_->bus(), nullptr, ofTheService.c_str(),
                               &received<&DesktopNotices::ownerChanged>, nullptr, this) < 0 ||
        !listen("ActionInvoked", &received<&DesktopNotices::actionInvoked>) ||
        !listen("NotificationClosed", &received<&DesktopNotices::closed>) ||
        !listen("ActivationToken", &received<&DesktopNotices::tokenCame>)) {
        failed("the session bus takes no questions");
        return;
    }
    askForCapabilities();
    link_->rearm();
}

/// What was shown over it is nobody's any more.
void DesktopNotices::disconnect() {
    for (const auto& shown : shown_) {
        takeBack(shown.id);
    }
    due_.stop();
    isAsking_ = false;
    hasMarkup_.reset();
    owner_.clear();
    shown_.clear();
    link_.reset();
}

void DesktopNotices::tryAgain() {
    if (!link_ || isLost_) {
        connect();
    } else if (!hasMarkup_) {
        askForCapabilities();
        link_->rearm();
    } else {
        update();
    }
}

void DesktopNotices::complain(const std::string& why) {
    if (!std::exchange(hasComplained_, true)) {
        options_.complain(why);
    }
}

void DesktopNotices::failed(const std::string& why) {
    complain(why);
    again_.start();
}

/// Nothing is missed while nothing is awaited.
void DesktopNotices::noteAnswer() {
    if (!isAsking_ && std::none_of(shown_.begin(), shown_.end(),
                                   [](const Shown& shown) { return shown.isAwaited; })) {
        due_.stop();
    }
}

/// Also what starts the service, where the bus can do that.
void DesktopNotices::askForCapabilities() {
    if (isAsking_) {
        return;
    }
    const auto question = newCall(link_->bus(), "GetCapabilities");
    if (!question ||
        sd_bus_call_async(link_->bus(), nullptr, question.get(),
                          &received<&DesktopNotices::capabilitiesCame>, this, forEver) < 0) {
        failed("the session bus takes no questions");
        return;
    }
    isAsking_ = true;
    due_.start();
}

void DesktopNotices::capabilitiesCame(sd_bus_message* reply) {
    isAsking_ = false;
    noteAnswer();
    if (isError(reply)) {
        // Somebody may come and be it; until then only a notice asks again.
        complain("this desktop has no notifications");
        return;
    }
    const char* sender = sd_bus_message_get_sender(reply);
    owner_ = sender ? sender : "";
    // One that says nothing that can be read is taken to read markup, which is the rule.
    bool canBeRead = sd_bus_message_enter_container(reply, 'a', "s") >= 0;
    bool markup = !canBeRead;
    for (const char* one = nullptr; canBeRead && sd_bus_message_read(reply, "s", &one) > 0;) {
        markup = markup || std::strcmp(one, "body-markup") == 0;
    }
    hasMarkup_ = markup;
    hasComplained_ = false;
    update();
}

/// The service has gone, has come, or is another program's.
void DesktopNotices::ownerChanged(sd_bus_message* signal) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (sd_bus_message_read(signal, "sss", &name, &before, &now) <= 0 || owner_ == now) {
        return;
    }
    owner_.clear();
    hasMarkup_.reset();
    shown_.clear();
    isAsking_ = false; // whoever was asked has gone
    noteAnswer();
    if (*now != '\0') {
        askForCapabilities();
    } else if (!notices_.items().empty()) {
        again_.start(); // the bus may start it again
    }
}

void DesktopNotices::update() {
    const auto items = notices_.items();
    std::erase_if(shown_, [&](const Shown& shown) {
        const bool isThere = std::any_of(items.begin(), items.end(), [&](const NoticeItem& item) {
            return item.id == shown.notice;
        });
        if (isThere || shown.isAwaited) {
            return false; // what is awaited is taken back when its number is known
        }
        takeBack(shown.id);
        return true;
    });
    if (!hasMarkup_ || isLost_) {
        if (!isAsking_ && !isLost_ && !items.empty() && !again_.isActive()) {
            again_.start();
        }
        return;
    }
    for (const auto& item : items) {
        auto shown = std::find_if(shown_.begin(), shown_.end(),
                                  [&](const Shown& each) { return each.notice == item.id; });
        if (shown == shown_.end()) {
            shown_.emplace_back();
            shown = std::prev(shown_.end());
            shown->notice = item.id;
            shown->owner = this;
        } else if (shown->isAwaited || shown->told == tellingOf(item)) {
            continue;
        }
        send(*shown, item);
    }
}

void DesktopNotices::send(Shown& shown, const NoticeItem& item) {
    const auto call = newCall(link_->bus(), "Notify");
    auto* message = call.get();
    shown.told = tellingOf(item);
    shown.buttons.clear();
    const auto title = bus::busText(notificationTitle(item.title));
    const auto body = bus::busText(notificationBody(messageOf(item), *hasMarkup_));
    sd_bus_message_append(message, "susss", "Velmoran", shown.isClosed ? 0U : shown.id, iconName,
                          title.c_str(), body.c_str());
    shown.isClosed = false;
    sd_bus_message_open_container(message, 'a', "s");
    sd_bus_message_append(message, "ss", opening, "Velmoran");
    for (const auto& button : item.buttons) {
        if (shown.buttons.size() == mostButtons) {
            break;
        }
        const auto key = std::to_string(shown.buttons.size());
        const auto words = bus::busText(notificationTitle(button.title));
        sd_bus_message_append(message, "ss", key.c_str(), words.c_str());
        shown.buttons.push_back(button.id);
    }
    sd_bus_message_close_container(message);
    // Resident: a press leaves it there until its notice goes. The program makes its own sound.
    sd_bus_message_append(message, "a{sv}", 4, "urgency", "y", critical, "desktop-entry", "s",
                          iconName, "resident", "b", 1, "suppress-sound", "b", 1);
    sd_bus_slot* slot = nullptr;
    if (sd_bus_message_append(message, "i", never) < 0 ||
        sd_bus_call_async(link_->bus(), &slot, message, &answered, &shown, forEver) < 0) {
        shown.told.clear();
        failed("the session bus takes no notifications");
        return;
    }
    shown.slot.reset(slot);
    shown.isAwaited = true;
    due_.start();
    link_->rearm();
}

void DesktopNotices::sent(Shown& shown, sd_bus_message* reply) {
    shown.isAwaited = false;
    noteAnswer();
    std::uint32_t id = 0;
    if (isError(reply) || sd_bus_message_read(reply, "u", &id) <= 0 || id == 0) {
        shown.told.clear();
        failed("the desktop's notifications don't take what is to be told");
        return;
    }
    if (shown.id != 0 && shown.id != id) {
        takeBack(shown.id);
    }
    shown.id = id;
    // A desktop that has room for one shows this in the other's place: a press is this one's.
    for (auto& other : shown_) {
        if (&other != &shown && other.id == id) {
            other.id = 0;
            other.isClosed = true;
        }
    }
    hasComplained_ = false;
    // It may have gone meanwhile, or say something else.
    update();
}

void DesktopNotices::takeBack(std::uint32_t id) {
    if (id == 0 || !link_ || isLost_) {
        return;
    }
    const auto call = newCall(link_->bus(), "CloseNotification");
    sd_bus_message_append(call.get(), "u", id);
    sd_bus_message_set_expect_reply(call.get(), 0);
    sd_bus_send(link_->bus(), call.get(), nullptr);
    link_->rearm();
}

DesktopNotices::Shown* DesktopNotices::withID(std::uint32_t id) {
    const auto found = std::find_if(shown_.begin(), shown_.end(), [&](const Shown& shown) {
        return shown.id == id && !shown.isClosed;
    });
    return id == 0 || found == shown_.end() ? nullptr : &*found;
}

bool DesktopNotices::isForeign(sd_bus_message* signal) const {
    const char* sender = sd_bus_message_get_sender(signal);
    return !sender || owner_ != sender;
}

void DesktopNotices::actionInvoked(sd_bus_message* signal) {
    std::uint32_t id = 0;
    const char* key = nullptr;
    if (isForeign(signal) || sd_bus_message_read(signal, "us", &id, &key) <= 0) {
        return;
    }
    const auto* shown = withID(id);
    if (!shown) {
        return;
    }
    // Not in a call of the link, as what is pressed may do anything.
    const auto later = [this](std::function<void()> act) {
        QMetaObject::invokeMethod(this, std::move(act), Qt::QueuedConnection);
    };
    if (std::strcmp(key, opening) == 0) {
        later([this] { options_.opened(); });
        return;
    }
    for (std::size_t i = 0; i < shown->buttons.size(); ++i) {
        if (std::to_string(i) == key) {
            later([this, notice = shown->notice, button = shown->buttons[i]] {
                notices_.press(notice, button);
            });
            return;
        }
    }
}

void DesktopNotices::closed(sd_bus_message* signal) {
    std::uint32_t id = 0;
    std::uint32_t reason = 0;
    if (isForeign(signal) || sd_bus_message_read(signal, "uu", &id, &reason) <= 0) {
        return;
    }
    if (auto* shown = withID(id)) {
        shown->isClosed = true;
        if (reason == byThePerson) {
            QMetaObject::invokeMethod(
                this, [this, notice = shown->notice] { notices_.close(notice); },
                Qt::QueuedConnection);
        }
    }
}

/// By which the window that a press brings may come to the front.
void DesktopNotices::tokenCame(sd_bus_message* signal) {
    std::uint32_t id = 0;
    const char* token = nullptr;
    if (!isForeign(signal) && sd_bus_message_read(signal, "us", &id, &token) > 0 && withID(id)) {
        qputenv("XDG_ACTIVATION_TOKEN", token);
    }
}

} // namespace velmoran
