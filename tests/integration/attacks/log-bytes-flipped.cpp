// Bytes of the history's write-ahead log are flipped after Velmoran was killed. Afterwards what is
// told is kept, or Velmoran says that it can't be.
#include "integration/attacks/Attack.h"

#include <SQLiteCpp/Database.h>
#include <csignal>
#include <fstream>
#include <random>

namespace velmoran::attacks {

namespace {

std::filesystem::path history(Scene& scene) {
    return scene.session().home() / ".local/share/Velmoran/History.store";
}

bool isKept(Scene& scene, const std::string& app) {
    try {
        SQLite::Database file(history(scene).string(), SQLite::OPEN_READONLY, 1000);
        return file.execAndGet("SELECT count(*) FROM SessionRecord WHERE appName LIKE '" + app +
                               "%'")
                   .getInt() > 0;
    } catch (const std::exception&) {
        return false;
    }
}

bool isSaid(Scene& scene) {
    const std::string words = "History can't be saved right now";
    return scene.told().find(words) != std::string::npos ||
           scene.session().child("watch")->errors().find(words) != std::string::npos ||
           scene.ctl({"status"}).output.find(words) != std::string::npos;
}

/// Flips some bits of a file; how many there are in it.
std::size_t flip(const std::filesystem::path& path, std::mt19937& random) {
    auto bytes = support::readFile(path);
    if (bytes.empty()) {
        return 0;
    }
    const auto count = 1 + random() % 16;
    for (std::size_t i = 0; i < count; ++i) {
        auto& byte = bytes[random() % bytes.size()];
        byte = static_cast<char>(static_cast<unsigned char>(byte) ^ (1U << (random() % 8)));
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    return bytes.size();
}

} // namespace

Verdict logBytesFlipped(Scene& scene) {
    const int rounds = scene.isSlow() ? 200 : 6;
    std::mt19937 random(20010101); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same each time
    scene.startSound();
    int kept = 0;
    for (int round = 0; round < rounds; ++round) {
        const auto which = "round " + std::to_string(round + 1);
        const auto first = "spy-" + std::to_string(round) + "-";
        const auto second = "mule-" + std::to_string(round) + "-";
        std::filesystem::remove_all(history(scene).parent_path());
        scene.startWatch();
        if (!scene.recordUntilTold(first, within(5s)) ||
            !waitUntil([&] { return isKept(scene, first); }, within(5s))) {
            return fell(which + ": a use wasn't kept before anything was done");
        }
        scene.session().child("watch")->signal(SIGKILL);
        scene.session().stop("watch");
        scene.session().stop(first);
        if (flip(history(scene).string() + "-wal", random) == 0) {
            throw std::runtime_error("there is no log");
        }
        try {
            scene.startWatch();
        } catch (const std::runtime_error&) {
            return fell(which + ": Velmoran doesn't start any more");
        }
        if (!scene.recordUntilTold(second, within(1s))) {
            return fell(which + ": a use wasn't told");
        }
        if (!waitUntil([&] { return isKept(scene, second) || isSaid(scene); }, within(3s))) {
            return fell(which + ": a use was lost, and nothing is said");
        }
        kept += isKept(scene, second) ? 1 : 0;
        scene.session().stop(second);
        if (scene.session().child("watch")->stop() != 0) {
            return fell(which + ": Velmoran ended with a failure");
        }
        scene.session().stop("watch");
    }
    return held(std::to_string(rounds) + " logs: " + std::to_string(kept) +
                " times the next use was kept, " + std::to_string(rounds - kept) +
                " times it was said that it can't be");
}

} // namespace velmoran::attacks
