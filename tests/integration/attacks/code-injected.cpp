// A program of the user's is made to load code that records. It is told, but under the name of the
// program that it is in: the kernel knows no other.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

Verdict codeInjected(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto host = scene.session().home() / "host";
    std::filesystem::copy_file("/bin/sleep", host);
    scene.session().start("host",
                          {"env", std::string("LD_PRELOAD=") + RECORDING_INSIDE, host, "600"});
    if (!scene.tellsStart("host", within(1s))) {
        return fell("code in another program recorded, and nothing was told");
    }
    return held("told, under the name of the program that the code is in");
}

} // namespace velmoran::attacks
