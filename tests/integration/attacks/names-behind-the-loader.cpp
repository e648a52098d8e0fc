// A recorder that the system's dynamic loader is told to run: what the kernel knows is the loader.
// Then one that writes the path of another program of the user's over its arguments.
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

Verdict namesBehindTheLoader(Scene& scene) {
    scene.startSound();
    scene.startWatch();
    const auto told = nameToldOf(scene, {loader(), scene.program("dictate")});
    if (told != "dictate (~)") {
        return fell("“dictate” in the home was told as “" + told + "”");
    }
    const auto liar =
        nameToldOf(scene, {loader(), scene.program("liar"), "--claim", scene.program("meeting")});
    const auto file = loader();
    if (liar != file.substr(file.rfind('/') + 1) && liar != "liar (~)") {
        return fell("“liar”, which says that it is “meeting”, was told as “" + liar + "”");
    }
    return held("told as “" + told + "”, and a liar as “" + liar + "”");
}

} // namespace velmoran::attacks
