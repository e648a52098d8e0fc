// Any client may take any other's right to see objects away, all at once or one by one; the other
// is told that they are gone. It may also end the other's connection, or let it believe so. Each of
// these ways is gone while one recorder goes on and another begins.
#include "integration/attacks/Attack.h"
#include "integration/attacks/SoundClient.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <tuple>

namespace velmoran::attacks {

namespace {

class Taker {
public:
    explicit Taker(pid_t victim) : victim_(std::to_string(victim)) {}

    void takeAll() {
        forVictims([this](auto victim) { client_.permit(victim, PW_ID_ANY, 0); });
    }
    void take(const std::function<bool(std::uint32_t, const SoundClient::Global&)>& chosen) {
        forVictims([&](auto victim) {
            for (const auto& [id, global] : client_.globals()) {
                if (chosen(id, global)) {
                    client_.permit(victim, id, 0);
                }
            }
        });
    }
    void takeOfKind(const std::string& type) {
        take([&](auto, const auto& global) { return global.type == type; });
    }
    /// It is told of no removal: what there is stays in sight, and what comes doesn't get there.
    void takeWhatComes() {
        forVictims([this](auto victim) {
            for (const auto& [id, global] : client_.globals()) {
                client_.permit(victim, id, PW_PERM_ALL);
            }
            client_.permit(victim, PW_ID_ANY, 0);
        });
    }
    void takeItself() {
        forVictims([this](auto victim) { client_.permit(victim, victim, 0); });
    }
    void hideAndShow() {
        forVictims([this](auto victim) {
            for (const auto permissions : {std::uint32_t{0}, std::uint32_t{PW_PERM_ALL}}) {
                client_.permit(victim, PW_ID_ANY, permissions);
            }
        });
    }
    void destroy() {
        forVictims([this](auto victim) { client_.destroy(victim); });
    }
    /// It hears that the server is gone.
    void lie() {
        forVictims([this](auto victim) {
            auto* registry = pw_core_get_registry(client_.core(), PW_VERSION_REGISTRY, 0);
            auto* proxy = static_cast<pw_client*>(
                pw_registry_bind(registry, victim, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
            pw_client_error(proxy, PW_ID_CORE, -EPIPE, "gone");
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy));
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
        });
    }

private:
    void forVictims(const std::function<void(std::uint32_t)>& strike) {
        client_.roundTrip();
        std::vector<std::uint32_t> victims;
        for (const auto& [id, global] : client_.globals()) {
            if (global.type == PW_TYPE_INTERFACE_Client &&
                global.property("pipewire.sec.pid") == victim_) {
                victims.push_back(id);
            }
        }
        if (victims.empty()) {
            throw std::runtime_error("Velmoran has no connection to strike at");
        }
        std::ranges::for_each(victims, strike);
        client_.roundTrip();
    }

    std::string victim_;
    SoundClient client_;
};

struct Way {
    std::string name;
    std::function<void(Taker&)> go;
    Bound bound = 150ms; ///< of which a recorder needs some 30 to begin
};

const std::vector<Way>& ways() {
    static const std::vector<Way> all = {
        {"everything",
         [](Taker& taker) {
             taker.takeAll();
         }},
        {"each object",
         [](Taker& taker) {
             taker.take([](auto, auto&) { return true; });
         }},
        {"the core",
         [](Taker& taker) {
             taker.take([](auto id, auto&) { return id == 0; });
         }},
        {"its own client",
         [](Taker& taker) {
             taker.takeItself();
         }},
        {"the clients",
         [](Taker& taker) {
             taker.takeOfKind(PW_TYPE_INTERFACE_Client);
         }},
        {"the nodes",
         [](Taker& taker) {
             taker.takeOfKind(PW_TYPE_INTERFACE_Node);
         }},
        {"the ports",
         [](Taker& taker) {
             taker.takeOfKind(PW_TYPE_INTERFACE_Port);
         }},
        {"the links",
         [](Taker& taker) {
             taker.takeOfKind(PW_TYPE_INTERFACE_Link);
         }},
        {"the metadata",
         [](Taker& taker) {
             taker.takeOfKind("PipeWire:Interface:Metadata");
         }},
        {"everything for a moment",
         [](Taker& taker) {
             taker.hideAndShow();
         }},
        {"the connection",
         [](Taker& taker) {
             taker.destroy();
         }},
        {"the belief in the server",
         [](Taker& taker) {
             taker.lie();
         }},
        // Nothing shows it while the microphone runs anyway, so Velmoran has to ask by itself.
        {"what comes", [](Taker& taker) { taker.takeWhatComes(); }, 3s},
    };
    return all;
}

constexpr const char* line = "Something took Velmoran's view of the sound system away";

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

} // namespace

Verdict sightTaken(Scene& scene) {
    scene.startSound();
    const auto& watch = scene.startWatch();
    auto& cards = scene.session().start("cards", {velmoranctl(), "watch", "--json",
                                                  "--device-folder", scene.session().file("dev")});
    scene.record("lasting");
    if (!scene.tellsStart("lasting") ||
        !waitUntil([&] { return cards.output().find("\"lasting") != std::string::npos; })) {
        throw std::runtime_error("not even the first recorder is told");
    }
    Taker taker(watch.pid());
    Taker fromCards(cards.pid());
    Bound latest{0};
    std::vector<std::string> failures;
    const int rounds = scene.isSlow() ? 10 : 1;
    int strikes = 0;
    for (int round = 0; round < rounds; ++round) {
        for (const auto& way : ways()) {
            const auto before = count(scene.told(), line);
            const auto name = "spy-" + std::to_string(++strikes) + "-";
            // What follows more closely counts as one.
            const auto apart = std::chrono::steady_clock::now() + within(120ms);
            while (std::chrono::steady_clock::now() < apart) {
                std::ignore = waitUntil([] { return false; }, 10ms);
            }
            way.go(taker);
            way.go(fromCards);
            const auto time = scene.recordUntilTold(name, within(way.bound));
            if (!time) {
                failures.push_back(way.name + ": a recorder wasn't told in " + text(way.bound));
            } else if (way.bound < 1s) {
                latest = std::max(latest, *time);
            }
            if (!waitUntil([&] { return count(scene.told(), line) > before; }, within(1s))) {
                failures.push_back(way.name + ": not noticed");
            }
            scene.session().stop(name);
            if (time && !scene.tellsEnd(name, within(5s))) {
                failures.push_back(way.name + ": the end wasn't told");
            }
            if (scene.hasTold({"lasting", "turned off"})) {
                failures.push_back(way.name + ": what went on was told to have ended");
                break;
            }
        }
    }
    if (scene.ctl({"status"}).output.find(line) == std::string::npos) {
        failures.emplace_back("the status doesn't say so");
    }
    const auto warnings =
        count(cards.output(), "\"Something is hiding the microphone from Velmoran\"");
    if (warnings == 0) {
        failures.emplace_back("no card");
    }
    if (!failures.empty()) {
        std::string all;
        for (const auto& failure : failures) {
            all += (all.empty() ? "" : "; ") + failure;
        }
        return fell(all);
    }
    return held(std::to_string(strikes) +
                " times the view was taken and noticed; recorders told, "
                "the latest after " +
                text(latest) + "; what went on stayed; " + std::to_string(warnings) + " card");
}

} // namespace velmoran::attacks
