// The session bus takes connections and says nothing, from before the start of Velmoran, which is
// asked by velmoranctl meanwhile.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SingleInstancePlace.h"
#include "support/XServer.h"

#include <algorithm>
#include <csignal>

namespace velmoran::attacks {

namespace {

using Steady = std::chrono::steady_clock;

Bound since(Steady::time_point begun) {
    return std::chrono::duration_cast<Bound>(Steady::now() - begun);
}

} // namespace

Verdict hangingBus(Scene& scene) {
    auto& session = scene.session();
    scene.startSound();
    session.startDisplay();
    session.startTray();
    const auto address = session.environment()["DBUS_SESSION_BUS_ADDRESS"];
    const support::XServer display(session.environment()["DISPLAY"]);
    const auto cards = [&] {
        const auto windows = display.visibleWindows("velmoran");
        return std::ranges::count_if(
            windows, [&](std::uint32_t window) { return !display.isEmbedded(window); });
    };
    session.child("bus")->signal(SIGSTOP);
    const auto begun = Steady::now();
    startDesktop(scene);
    if (!waitUntil([&] { return !display.dockedIcons().empty(); }, within(10s))) {
        return fell("no icon within ten seconds");
    }
    const auto docked = since(begun);
    // The recorder's own library would wait for the bus.
    session.environment()["DBUS_SESSION_BUS_ADDRESS"] = "disabled:";
    const auto recorded = Steady::now();
    scene.record("spy");
    if (!waitUntil([&] { return cards() > 0; }, within(2s))) {
        return fell("no card within two seconds of a recorder; the icon came after " +
                    text(docked));
    }
    const auto told = since(recorded);
    session.environment()["DBUS_SESSION_BUS_ADDRESS"] = address;
    for (const char* command : {"status", "unmute", "stop"}) {
        const auto asked = scene.ctl({command}, within(10s));
        if (asked.status != 1) {
            return fell(std::string("\"") + command + "\" didn't end with status 1 in time");
        }
    }
    session.child("bus")->signal(SIGCONT);
    if (!waitUntil([&] { return seesUse(scene, "spy"); }, within(35s))) {
        return fell("not reached over the bus when that goes on");
    }
    return held("icon after " + text(docked) + ", card " + text(told) +
                " after a recorder's start; reached when the bus went on");
}

} // namespace velmoran::attacks
