// Nodes that come and go in the sound server by the thousand, while a recorder begins.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"

#include <algorithm>
#include <cmath>

namespace velmoran::attacks {

namespace {

constexpr long mayGrow = 8 * 1024; ///< KiB

class Flood {
public:
    /// Makes some nodes and takes them away again.
    void pour() {
        std::vector<pw_proxy*> nodes;
        for (int i = 0; i < each; ++i) {
            nodes.push_back(client_.create("spa-node-factory",
                                           {{"factory.name", "support.null-audio-sink"},
                                            {"node.name", "flood-" + std::to_string(count_++)}}));
        }
        client_.roundTrip();
        for (auto* node : nodes) {
            client_.release(node);
        }
        client_.roundTrip();
    }
    bool pourUntil(const std::function<bool()>& condition, Bound bound) {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            if (std::chrono::steady_clock::now() >= end) {
                return false;
            }
            pour();
        }
        return true;
    }
    [[nodiscard]] int count() const { return count_; }

private:
    static constexpr int each = 50;

    SoundClient client_;
    int count_ = 0;
};

} // namespace

Verdict nodeFlood(Scene& scene) {
    const int recorders = scene.isSlow() ? 60 : 4;
    scene.startSound();
    const auto& watch = scene.startWatch();
    Flood flood;
    flood.pour();
    const auto memory = residentKiB(watch.pid());
    const auto begun = std::chrono::steady_clock::now();
    const int before = flood.count();
    Bound latest{0};
    for (int number = 0; number < recorders; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        const auto start = std::chrono::steady_clock::now();
        scene.record(name);
        // The server itself is slow to start a stream under it.
        if (!flood.pourUntil([&] { return scene.tellsStart(name, 0ms); }, within(2s))) {
            return fell("recorder " + std::to_string(number + 1) + " wasn't told within 2 s");
        }
        latest = std::max(
            latest, std::chrono::duration_cast<Bound>(std::chrono::steady_clock::now() - start));
        scene.session().stop(name);
        if (!flood.pourUntil([&] { return scene.tellsEnd(name, 0ms); }, within(5s))) {
            return fell("the end of recorder " + std::to_string(number + 1) + " wasn't told");
        }
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;
    const auto grown = residentKiB(watch.pid()) - memory;
    const auto figures = std::to_string(flood.count() - before) + " nodes, " +
                         std::to_string(std::lround((flood.count() - before) / took.count())) +
                         " a second, " + std::to_string(grown) + " KiB more memory";
    if (grown > mayGrow) {
        return fell(figures);
    }
    return held(std::to_string(recorders) + " recorders told, the latest after " + text(latest) +
                "; " + figures);
}

} // namespace velmoran::attacks
