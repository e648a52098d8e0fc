// The notices as the desktop's notifications, by org.freedesktop.Notifications: where no surface of
// our own can stand. Urgent, so that they stay, show their buttons and come over full-screen
// windows; worded and buttoned as the cards are, one for each app, and taken back when the card
// would go. Never waits for the bus or the desktop: an answer that is late counts when it comes,
// and what was sent isn't sent a second time meanwhile. A notification that the desktop has closed
// by itself isn't shown again, unless its notice changes; when the desktop's service begins anew,
// all are. Owned by the application delegate; main thread.
#pragma once

#include "app/bus/BusLink.h"
#include "app/notices/JoinedNotices.h"
#include "app/shell/cards/NoticeSurface.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class DesktopNotices final : public QObject, public NoticeSurface {
public:
    struct Options {
        /// The person has clicked a notification beside its buttons.
        std::function<void()> opened = [] {
        };
        /// Something for the person who has started the program, once: notices aren't shown.
        std::function<void(const std::string& why)> complain = [](const std::string&) {
        };
        /// Until an answer is missed.
        std::chrono::milliseconds patience{10000};
        /// Until what was refused, or couldn't be reached, is tried again.
        std::chrono::milliseconds pause{5000};
    };

    /// The center outlives it.
    DesktopNotices(NoticeCenter& notices, Options options);
    /// Takes back what is there.
    ~DesktopNotices() override;

    void redraw() override {}

private:
    /// One notice, as long as the center or the desktop has it.
    struct Shown {
        Uuid notice;
        std::string told;          ///< what it said when it was sent last
        std::uint32_t id = 0;      ///< the desktop's; 0 while it has none
        bool isAwaited = false;    ///< sent, and not answered yet
        bool isClosed = false;     ///< by the desktop
        std::vector<Uuid> buttons; ///< as they were sent
        DesktopNotices* owner = nullptr;
        BusSlot slot; ///< of the answer
    };

    using Heard = void (DesktopNotices::*)(sd_bus_message* message);
    template <Heard heard>
    static int received(sd_bus_message* message, void* notices, sd_bus_error* error);
    static int answered(sd_bus_message* reply, void* shown, sd_bus_error* error);

    void connect();
    void disconnect();
    void tryAgain();
    void failed(const std::string& why);
    void complain(const std::string& why);
    void noteAnswer();
    void askForCapabilities();
    void capabilitiesCame(sd_bus_message* reply);
    void ownerChanged(sd_bus_message* signal);
    void actionInvoked(sd_bus_message* signal);
    void closed(sd_bus_message* signal);
    void tokenCame(sd_bus_message* signal);

    void update();
    void send(Shown& shown, const NoticeItem& item);
    void sent(Shown& shown, sd_bus_message* reply);
    void takeBack(std::uint32_t id);
    Shown* withID(std::uint32_t id);
    /// Not from the service itself.
    bool isForeign(sd_bus_message* signal) const;

    JoinedNotices notices_;
    Options options_;
    std::unique_ptr<BusLink> link_;
    std::optional<bool> hasMarkup_; ///< nothing until the service has said what it can
    std::string owner_;             ///< the service's own name on the bus
    std::list<Shown> shown_;
    bool isAsking_ = false; ///< what it can
    bool isLost_ = false;   ///< the link
    bool hasComplained_ = false;
    QTimer again_;
    QTimer due_; ///< an answer
};

} // namespace velmoran
