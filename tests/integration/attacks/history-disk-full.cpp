// A program fills the disk on which the history stands.
#include "integration/attacks/HistoryFile.h"

#include <cerrno>
#include <csignal>
#include <fstream>

#include <sys/mount.h>

namespace velmoran::attacks {

namespace {

class SmallDisk {
public:
    explicit SmallDisk(std::filesystem::path folder) : folder_(std::move(folder)) {
        std::filesystem::create_directories(folder_);
        if (mount("velmoran-attack", folder_.c_str(), "tmpfs", 0, "size=1m,mode=0700") != 0) {
            throw NotTried("only root can make a small disk");
        }
    }
    ~SmallDisk() { umount2(folder_.c_str(), MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

    void fill() const {
        std::ofstream file(folder_ / "filling", std::ios::binary);
        const std::string page(4096, 'x');
        while (file.write(page.data(), static_cast<std::streamsize>(page.size())).flush()) {
        }
    }
    void free() const { std::filesystem::remove(folder_ / "filling"); }

private:
    std::filesystem::path folder_;
};

} // namespace

Verdict historyDiskFull(Scene& scene) {
    const SmallDisk disk(historyFile(scene).parent_path());
    scene.startSound();
    scene.startWatch();
    disk.fill();
    constexpr int uses = 10; // more than the pages hold that are there already
    for (int number = 0; number < uses; ++number) {
        const auto name = "spy-" + std::to_string(number) + "-";
        if (!scene.recordUntilTold(name, within(1s))) {
            return fell("a use wasn't told on a full disk");
        }
        scene.session().stop(name);
        if (!scene.tellsEnd(name, within(1s))) {
            return fell("an end wasn't told on a full disk");
        }
    }
    if (!isSaidEverywhere(scene, std::string(notWritten) + "No space left on device)")) {
        return fell("nobody said that the disk is full; " +
                    std::to_string(endedUses(scene, "spy-")) + " of " + std::to_string(uses) +
                    " uses were kept");
    }
    disk.free();
    if (!waitUntil([&] { return endedUses(scene, "spy-") == uses; }, within(3s))) {
        return fell("of " + std::to_string(uses) + " uses " +
                    std::to_string(endedUses(scene, "spy-")) + " were kept");
    }
    scene.session().child("watch")->signal(SIGTERM);
    scene.session().stop("watch");
    return held("it is said, and all " + std::to_string(uses) +
                " uses were kept when there was room again");
}

} // namespace velmoran::attacks
