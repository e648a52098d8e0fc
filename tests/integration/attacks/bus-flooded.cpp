// Calls over the session bus, as many as it takes, while a recorder begins: questions from one
// caller and from ever new ones, and long names of apps to be stopped.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

namespace {

constexpr long mayGrow = 8 * 1024; ///< KiB

} // namespace

Verdict busFlooded(Scene& scene) {
    scene.startSound();
    auto& watch = scene.startWatch();
    const auto memory = residentKiB(watch.pid());
    const std::string calls = scene.isSlow() ? "180000" : "20000";
    const std::string callers = scene.isSlow() ? "20000" : "1000";
    scene.session().start("questions", {floodBus(), "Status", calls});
    scene.session().start("callers", {floodBus(), "Status", callers, "-", "many"});
    scene.session().start("names", {floodBus(), "Stop", callers, "20000"});

    const auto told = scene.recordUntilTold("spy", within(500ms));
    if (!told) {
        return fell("a recorder wasn't told within half a second");
    }
    if (!scene.session().child("questions")->running()) {
        throw std::runtime_error("the flood was over before the recorder was told");
    }
    const auto status = scene.ctl({"status"}, within(10s));
    if (!status.succeeded() || status.output.find("spy") == std::string::npos) {
        return fell("status didn't say who uses the microphone: " + status.output + status.errors);
    }
    for (const char* flood : {"questions", "callers", "names"}) {
        if (scene.session().child(flood)->wait(scene.isSlow() ? 600s : 60s) != 0) {
            return fell("not all calls were answered");
        }
    }
    const auto grown = residentKiB(watch.pid()) - memory;
    const auto figures = calls + " calls, " + callers + " callers and " + callers +
                         " long names; " + std::to_string(grown) + " KiB more memory";
    if (grown > mayGrow) {
        return fell(figures);
    }
    return held("a recorder told after " + text(*told) + ", " + figures);
}

} // namespace velmoran::attacks
