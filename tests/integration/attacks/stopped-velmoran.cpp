// Velmoran is stopped, a recorder begins, and Velmoran goes on; and it is killed and started anew.
#include "integration/attacks/Attack.h"

#include <csignal>

namespace velmoran::attacks {

namespace {

/// The recorder runs as far as the sound server knows.
bool isRecorded(Scene& scene) {
    const auto graph = scene.session().graph();
    return graph.find("\"graph-client\"") != std::string::npos &&
           graph.find("\"running\"") != std::string::npos;
}

std::string gapIn(const std::string& status) {
    const auto at = status.find("\"notWatching\":");
    return at == std::string::npos ? std::string() : status.substr(at, status.find('}', at) - at);
}

} // namespace

Verdict stoppedVelmoran(Scene& scene) {
    scene.startSound();
    auto& watch = scene.startWatch();
    const auto begun = std::chrono::steady_clock::now();
    watch.signal(SIGSTOP);
    scene.record("spy");
    const auto enough = scene.isSlow() ? 60s : 4s;
    if (!waitUntil(
            [&] { return isRecorded(scene) && std::chrono::steady_clock::now() - begun > enough; },
            enough + 20s)) {
        throw std::runtime_error("the recorder didn't run");
    }
    watch.signal(SIGCONT);
    if (!scene.tells({"spy", "turned on the microphone"}, within(1s))) {
        return fell("what was turned on meanwhile wasn't told within a second");
    }
    const auto first = gapIn(scene.ctl({"status", "--json"}).output);
    if (first.empty()) {
        return fell("status doesn't say when Velmoran wasn't watching");
    }
    watch.signal(SIGKILL);
    const auto killed = std::chrono::steady_clock::now();
    if (!waitUntil([&] { return std::chrono::steady_clock::now() - killed > 4s; })) {
        throw std::runtime_error("no time passed");
    }
    scene.session().stop("watch");
    scene.startWatch();
    const auto second = gapIn(scene.ctl({"status", "--json"}).output);
    if (second.empty() || second == first) {
        return fell("status doesn't say that Velmoran didn't run");
    }
    return held("told when it went on; " + first + "}, then " + second + "}");
}

} // namespace velmoran::attacks
