// The stop shortcut as a desktop gives it that hands out keys itself: through the interface
// org.freedesktop.portal.GlobalShortcuts of the desktop portal. The desktop may ask its user, and
// may give other keys than were asked for. Speaks over a connection of its own, whose end also ends
// whatever the portal still holds for it, and never waits for the bus or the portal. Exists while
// the shortcut is on; owned by it. Main thread.
#pragma once

#include "app/bus/BusLink.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace velmoran {

class PortalShortcut final : public QObject {
public:
    /// For the start of a portal, and for each answer that takes no user's decision.
    static constexpr std::chrono::milliseconds usualPatience{25000};

    /// `pressed` runs once for each press. `refused` runs at most once: when there is no portal,
    /// its answer is no or doesn't come, or it goes away.
    PortalShortcut(std::function<void()> pressed, std::function<void()> refused,
                   std::chrono::milliseconds patience = usualPatience);
    /// Gives the shortcut back.
    ~PortalShortcut() override;

    /// False where there is no session bus. All other answers come later.
    [[nodiscard]] bool ask();

private:
    using Reply = void (PortalShortcut::*)(sd_bus_message* reply);
    template <Reply reply>
    static int received(sd_bus_message* message, void* shortcut, sd_bus_error* error);

    void askForOwner();
    void ownerCame(sd_bus_message* reply);
    void started(sd_bus_message* reply);
    void createSession();
    void bindShortcut();
    /// The portal has taken a request; its own answer comes in a signal.
    void accepted(sd_bus_message* reply);
    void responded(sd_bus_message* signal);
    void sessionCame(std::uint32_t response, const std::string& handle);
    void activated(sd_bus_message* signal);
    void closed(sd_bus_message* signal);
    void ownerChanged(sd_bus_message* signal);
    void refuse();

    /// A call that can't be made is an answer that doesn't come.
    void call(const BusMessage& message, sd_bus_message_handler_t answered);
    bool listen(const char* sender, const char* path, const char* interface, const char* member,
                sd_bus_message_handler_t heard);
    std::string newToken();
    /// Where the portal puts what this connection has it make: a "request" or a "session".
    std::string pathOf(const char* kind, const std::string& token) const;

    std::function<void()> pressed_;
    std::function<void()> refused_;
    std::chrono::milliseconds patience_;
    std::unique_ptr<BusLink> link_;
    std::string owner_;       ///< the portal's own name on the bus
    std::string request_;     ///< the path of what is being asked; empty if nothing is
    std::string session_;     ///< from when it is asked for
    bool isStarting_ = false; ///< the portal didn't run
    bool isBinding_ = false;
    int tokens_ = 0;
    QTimer due_;
};

} // namespace velmoran
