// The history of the Velmoran that is attacked, as a program of the same user meets it: a file that
// it can read, lock and write over; and a Velmoran whose disk or clock has faults.
#pragma once

#include "integration/attacks/Attack.h"

#include <SQLiteCpp/Database.h>

namespace velmoran::attacks {

inline std::filesystem::path historyFile(Scene& scene) {
    return scene.session().home() / ".local/share/Velmoran/History.store";
}

/// The first column of the first row that a question gives; -1 if it can't be asked.
inline std::int64_t askHistory(Scene& scene, const std::string& question) {
    try {
        SQLite::Database file(historyFile(scene).string(), SQLite::OPEN_READONLY, 1000);
        return file.execAndGet(question).getInt64();
    } catch (const std::exception&) {
        return -1;
    }
}

/// Uses of apps whose names begin so, that have come to their end.
inline std::int64_t endedUses(Scene& scene, const std::string& apps) {
    return askHistory(scene, "SELECT count(*) FROM SessionRecord WHERE appName LIKE '" + apps +
                                 "%' AND end IS NOT NULL");
}

/// Whether both the watch and the status say this, within a second.
inline bool isSaidEverywhere(Scene& scene, const std::string& words) {
    return waitUntil(
        [&] {
            return scene.told().find(words) != std::string::npos &&
                   scene.ctl({"status"}).output.find(words) != std::string::npos;
        },
        within(1s));
}

inline constexpr const char* notWritten =
    "History can't be saved right now. Its file couldn't be written. (";

/// What is wrong with the system that a watch runs on (FaultySystem.cpp).
class Faults {
public:
    explicit Faults(Scene& scene) : folder_(scene.session().file("faults")) {
        std::filesystem::create_directories(folder_);
    }
    /// A watch on that system; what is started later has the machine's own.
    void startWatch(Scene& scene) const {
        auto& environment = scene.session().environment();
        const auto before = environment;
        environment["LD_PRELOAD"] = FAULTY_SYSTEM;
        environment["VELMORAN_FAULTS"] = folder_;
        environment["ASAN_OPTIONS"] += ":verify_asan_link_order=0";
        scene.startWatch();
        environment = before;
    }
    void set(const std::string& name, long value) const {
        support::writeFile(folder_ / (name + ".new"), std::to_string(value));
        std::filesystem::rename(folder_ / (name + ".new"), folder_ / name);
    }
    void mend(const std::string& name) const { std::filesystem::remove(folder_ / name); }

private:
    std::filesystem::path folder_;
};

} // namespace velmoran::attacks
