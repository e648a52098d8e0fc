// A program says on the session bus that it knows where the tray is, and answers nobody who asks.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SingleInstancePlace.h"
#include "support/XServer.h"

#include <algorithm>
#include <memory>
#include <systemd/sd-bus.h>

namespace velmoran::attacks {

namespace {

struct Closer {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};

} // namespace

Verdict silentTray(Scene& scene) {
    auto& session = scene.session();
    scene.startSound();
    session.startDisplay();
    sd_bus* made = nullptr;
    if (sd_bus_open_user(&made) < 0 ||
        sd_bus_request_name(made, "org.kde.StatusNotifierWatcher", 0) < 0) {
        throw std::runtime_error("the name can't be had");
    }
    const std::unique_ptr<sd_bus, Closer> silent(made);
    const support::XServer display(session.environment()["DISPLAY"]);
    auto& program = startDesktop(scene);
    if (!waitUntil([&] { return program.errors().find("no tray") != std::string::npos; })) {
        return fell("Velmoran never gave the tray up");
    }
    const auto begun = std::chrono::steady_clock::now();
    scene.record("spy");
    if (!waitUntil([&] { return !display.visibleWindows("velmoran").empty(); }, within(1s))) {
        return fell("no card within a second of a recorder");
    }
    return held("a card " +
                text(std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - begun)) +
                " after a recorder's start");
}

} // namespace velmoran::attacks
