// What logind says of the lock of the session of our own display, over one connection to the system
// bus: it asks the session to lock and unlock itself, and keeps the locker's own word. Owned by the
// screen lock as long as that connection is there; the loop's thread only.
#pragma once

#include "system/linux/away/OwnSession.h"
#include "system/linux/bus/BusLine.h"

#include <functional>
#include <string>
#include <vector>

namespace velmoran {

class LogindLock {
public:
    struct Calls {
        std::function<void(bool locked)> requested; ///< by logind
        std::function<void(bool locked)> hinted;    ///< by the locker, just now
        std::function<void(bool locked)> found;     ///< likewise, at some time before
        std::function<void()> ended;                ///< the session
    };

    /// The line outlives this.
    LogindLock(BusLine& line, OwnPlace place, Calls calls);
    LogindLock(const LogindLock&) = delete;
    LogindLock& operator=(const LogindLock&) = delete;

private:
    void ownerCame(const std::string& owner);
    void search();
    void sessionsCame(sd_bus_message* answer);
    void answered();
    void attach(const LoginSession& session);
    void sessionEnded(sd_bus_message* signal);

    BusLine& line_;
    OwnPlace place_;
    Calls calls_;
    std::string logind_; ///< its own name on the bus
    std::vector<LoginSession> sessions_;
    std::size_t unanswered_ = 0;
    LoginSession own_; ///< with an empty path while none is known
    BusEar ownerEar_;
    std::vector<BusEar> managerEars_;
    std::vector<BusEar> questions_;
    std::vector<BusEar> sessionEars_;
};

} // namespace velmoran
