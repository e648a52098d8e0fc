// A program cuts the history's file, or writes over its beginning, while Velmoran has it open.
#include "integration/attacks/HistoryFile.h"

#include <csignal>
#include <fstream>
#include <functional>

namespace velmoran::attacks {

Verdict historyOverwritten(Scene& scene) {
    const auto file = historyFile(scene);
    const struct {
        std::string what;
        std::function<void()> doIt;
    } cases[] = {
        {"emptied",
         [&] {
             std::filesystem::resize_file(file, 0);
         }},
        {"cut in half",
         [&] {
             std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
         }},
        {"with garbage in its first page",
         [&] {
             std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
             stream << std::string(4096, '\x5A');
         }},
    };
    scene.startSound();
    int number = 0;
    for (const auto& [what, doIt] : cases) {
        std::filesystem::remove_all(file.parent_path());
        scene.startWatch();
        const auto first = "first-" + std::to_string(number) + "-";
        const auto second = "spy-" + std::to_string(number++) + "-";
        if (!scene.recordUntilTold(first, within(5s))) {
            throw std::runtime_error("nothing is told");
        }
        {
            // All that was kept stands in the file by now, as after a while.
            SQLite::Database other(file.string(), SQLite::OPEN_READWRITE, 1000);
            other.exec("PRAGMA wal_checkpoint(TRUNCATE)");
        }
        doIt();
        if (!scene.recordUntilTold(second, within(1s))) {
            return fell("a use wasn't told with a file that was " + what);
        }
        if (!isSaidEverywhere(scene, notWritten)) {
            return fell("a use is lost in a file " + what + ", and nobody says so");
        }
        // The person puts it away, and nothing that waited is lost.
        std::filesystem::remove(file);
        std::filesystem::remove(file.string() + "-wal");
        std::filesystem::remove(file.string() + "-shm");
        scene.session().stop(first);
        scene.session().stop(second);
        if (!waitUntil([&] { return endedUses(scene, second) == 1; }, within(3s))) {
            return fell("a use that waited was lost with a file that was " + what);
        }
        scene.session().stop("watch");
    }
    return held("emptied, cut and overwritten files are said, and what waited goes into a new one");
}

} // namespace velmoran::attacks
