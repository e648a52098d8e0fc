// Which of logind's sessions is that of our own display. A decision about plain values; any thread.
#pragma once

#include <string>
#include <vector>

namespace velmoran {

/// A session of our own user.
struct LoginSession {
    std::string path; ///< of its object
    std::string id;
    std::string type;    ///< "x11", "wayland", "tty" …
    std::string display; ///< the X server's name; empty without one

    bool isGraphical() const { return type != "tty" && type != "unspecified" && type != "web"; }
    bool operator==(const LoginSession&) const = default;
};

/// What we know of ourselves; empty is nothing.
struct OwnPlace {
    std::string sessionId;  ///< by the environment
    std::string display;    ///< likewise
    std::string loggedInto; ///< the path of the session in which logind sees us, or of the one with
                            ///< the user's display if it sees us in none, as it sees whatever the
                            ///< user's service manager has started
};

/// Null if none can be it, or several can.
const LoginSession* ownSession(const std::vector<LoginSession>& sessions, const OwnPlace& place);

} // namespace velmoran
