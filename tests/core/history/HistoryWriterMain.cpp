// A program that does nothing but record sessions, until it is killed. It says on its standard
// output what it is about to save and what has been saved, one line each.
#include "core/history/HistoryStore.h"

#include <cstdlib>
#include <random>
#include <string>
#include <unistd.h>

using namespace velmoran;

namespace {

/// In one piece and past all buffers: what was said is with the reader whatever comes next.
void say(const std::string& line) {
    if (write(STDOUT_FILENO, (line + "\n").data(), line.size() + 1) !=
        static_cast<ssize_t>(line.size() + 1)) {
        std::_Exit(1);
    }
}

void save(HistoryStore& store, const UsageSession& session) {
    const auto text = encode(session);
    say("will " + text);
    store.saveSession(session);
    say("did " + text);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        return 2;
    }
    std::mt19937_64 random(std::stoull(arguments[2]));
    HistoryStore store{std::filesystem::path(arguments[1])};
    store.closeOpenRecords();
    say("opened");
    std::vector<UsageSession> open;
    for (double now = static_cast<double>(random() % 1000000);; now += 0.25) {
        if (open.empty() || (open.size() < 5 && random() % 3 == 0)) {
            UsageSession session;
            for (auto& byte : session.id.bytes) {
                byte = static_cast<std::uint8_t>(random());
            }
            session.device = allDevices[random() % allDevices.size()];
            session.app = AppIdentity::unknown();
            session.start = {now};
            session.observedFromStart = true;
            open.push_back(session);
            save(store, session);
            continue;
        }
        const auto at = open.begin() + static_cast<std::ptrdiff_t>(random() % open.size());
        switch (random() % 4) {
        case 0:
            at->app = {.id = "org.example.app" + std::to_string(random() % 9),
                       .name = "Some App",
                       .bundleID = "org.example.app",
                       .path = "/usr/bin/app",
                       .teamID = {}};
            at->warningLevel = WarningLevel::standard;
            save(store, *at);
            break;
        case 1:
        case 2:
            if (at->connections.size() < 12) { // or else a line would outgrow what pipes keep whole
                at->connections.push_back(
                    {"192.0.2." + std::to_string(random() % 256), 443, "TCP", Timestamp{now}});
            }
            save(store, *at);
            break;
        default:
            at->end = Timestamp{now};
            at->outcome = SessionOutcome::endedNormally;
            save(store, *at);
            open.erase(at);
        }
        if (random() % 50 == 0) {
            store.saveAwayPayload(Uuid::random(), {now}, {}, "{}");
            store.prune({-1});
        }
    }
}
