// The sound server is told to write the microphone into a named pipe. Whoever reads that is no
// client of the server at all.
#include "integration/attacks/SecondHand.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran::attacks {

namespace {

class Pipe {
public:
    explicit Pipe(const std::filesystem::path& path) {
        if (mkfifo(path.c_str(), 0600) != 0) {
            throw std::runtime_error("no named pipe");
        }
        end_ = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;
    ~Pipe() { close(end_); }

    /// Whether anything but silence has come since the last call.
    bool givesSound() {
        bool isSound = false;
        std::array<char, 4096> bytes{};
        for (ssize_t count = 0; (count = read(end_, bytes.data(), bytes.size())) > 0;) {
            for (ssize_t at = 0; at < count; ++at) {
                isSound = isSound || bytes[static_cast<std::size_t>(at)] != '\0';
            }
        }
        return isSound;
    }

private:
    int end_ = -1;
};

} // namespace

Verdict soundIntoAFile(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto path = scene.session().file("pipe");
    Pipe pipe(path);
    loadModule(scene, {"module-pipe-sink", "file=" + path.string(), "sink_name=pipe"});
    loadModule(scene, {"module-loopback", "source=virtual-microphone", "sink=pipe"});
    if (!waitUntil([&] { return pipe.givesSound(); })) {
        throw std::runtime_error("the pipe gives no sound");
    }
    if (!waitUntil(
            [&] {
                pipe.givesSound();
                return scene.hasTold({"turned on the microphone"});
            },
            // A server's own module is given a second to be for somebody.
            within(2s))) {
        return fell("nothing was told within two seconds of the first sound in the pipe");
    }
    auto line = scene.told();
    line = line.substr(0, line.find('\n'));
    return held("told: " + line.substr(std::min(line.size(), line.find("  ") + 2)));
}

} // namespace velmoran::attacks
