// Named pipes, which whoever reads them waits for, stand where Velmoran reads files of the user's:
// its settings, its history and the desktop entries.
#include "integration/attacks/Attack.h"

#include <cstdio>
#include <sys/stat.h>

namespace velmoran::attacks {

namespace {

void pipeInPlaceOf(const std::filesystem::path& file) {
    std::filesystem::create_directories(file.parent_path());
    // At once, since Velmoran may be writing the file.
    auto beside = file;
    beside += ".pipe";
    if (mkfifo(beside.c_str(), 0600) != 0 || std::rename(beside.c_str(), file.c_str()) != 0) {
        throw std::runtime_error("no named pipe");
    }
}

} // namespace

Verdict pipesForFiles(Scene& scene) {
    const auto home = scene.session().home();
    const auto settings = home / ".config/Velmoran/Velmoran.conf";
    const auto history = home / ".local/share/Velmoran/History.store";
    scene.startSound();

    scene.startWatch();
    // While a mute stands, the settings are read every three seconds.
    if (scene.ctl({"stop"}).status != 0 || !waitUntil([&] { return exists(settings); })) {
        throw std::runtime_error("nothing was muted");
    }
    for (const auto& file : {settings, history, home / ".local/share/applications/pipe.desktop"}) {
        pipeInPlaceOf(file);
    }
    const auto end = std::chrono::steady_clock::now() + 4s;
    for (int number = 0; std::chrono::steady_clock::now() < end; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        if (!scene.recordUntilTold(name, within(1s))) {
            return fell("a recorder wasn't told with pipes in the place of files");
        }
        scene.session().stop(name);
        if (!scene.tellsEnd(name, within(2s))) {
            return fell("the end of a recorder wasn't told");
        }
    }
    scene.session().stop("watch");

    try {
        scene.startWatch();
    } catch (const std::runtime_error&) {
        return fell("Velmoran doesn't start with pipes in the place of its files");
    }
    const auto told = scene.recordUntilTold("late", within(1s));
    if (!told) {
        return fell("a recorder wasn't told after a start with pipes in the place of files");
    }
    return held("told all the same, after " + text(*told) + " at most since a new start");
}

} // namespace velmoran::attacks
