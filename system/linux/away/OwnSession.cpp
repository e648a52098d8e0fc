#include "system/linux/away/OwnSession.h"

#include <algorithm>
#include <functional>

namespace velmoran {

const LoginSession* ownSession(const std::vector<LoginSession>& sessions, const OwnPlace& place) {
    using Is = std::function<bool(const LoginSession&)>;
    const auto find = [&](const Is& is) {
        const auto found = std::find_if(sessions.begin(), sessions.end(), is);
        return found == sessions.end() ? nullptr : &*found;
    };
    const Is byId = [&](const LoginSession& session) {
        return !place.sessionId.empty() && session.id == place.sessionId;
    };
    const Is byDisplay = [&](const LoginSession& session) {
        // A display may name a screen of it too.
        const auto& ours = place.display;
        const auto& its = session.display;
        return !its.empty() && (ours == its || ours.starts_with(its + "."));
    };
    const Is byLogin = [&](const LoginSession& session) {
        return !place.loggedInto.empty() && session.path == place.loggedInto;
    };
    // One may have come over the network, and look at the display of another session.
    for (const auto& is : {byId, byDisplay, byLogin}) {
        if (const auto* found = find([&](const LoginSession& session) {
                return session.isGraphical() && is(session);
            })) {
            return found;
        }
    }
    const Is isGraphical = [](const LoginSession& session) {
        return session.isGraphical();
    };
    if (std::count_if(sessions.begin(), sessions.end(), isGraphical) == 1) {
        return find(isGraphical);
    }
    // An X server that was started from a console belongs to a session of that.
    const auto* console = find(byId);
    return console != nullptr ? console : find(byLogin);
}

} // namespace velmoran
