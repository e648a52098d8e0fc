// A recorder that the system's dynamic loader is told to run: what the kernel knows is the loader.
#include "integration/attacks/ToldNames.h"

namespace velmoran::attacks {

namespace {

/// That of this program, as the kernel has mapped it.
std::string loader() {
    const auto maps = support::readFile("/proc/self/maps");
    const auto name = maps.find("/ld-");
    if (name == std::string::npos) {
        throw NotTried("the loader isn't called as elsewhere");
    }
    const auto begin = maps.rfind(' ', name) + 1;
    return maps.substr(begin, maps.find('\n', name) - begin);
}

} // namespace

Verdict attack(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto told = nameToldOf(scene, {loader(), scene.program("dictate")});
    return told == "dictate (~)" ? held("told as “" + told + "”")
                                 : fell("“dictate” in the home was told as “" + told + "”");
}

} // namespace velmoran::attacks
