// A program takes a camera's pictures and offers them as a camera of its own, from which another
// one takes them.
#include "integration/attacks/Attack.h"

namespace velmoran::attacks {

Verdict cameraAtSecondHand(Scene& scene) {
    auto& session = scene.session();
    session.needGStreamer();
    scene.startSound();
    session.addCamera();
    scene.startWatch();
    session.start("mirror", {"gst-launch-1.0", "-q", "pipewiresrc", "target-object=virtual-camera",
                             "!", "video/x-raw", "!", "pipewiresink", "mode=provide",
                             "stream-properties=props,media.class=Video/Source,media.role=Camera,"
                             "node.name=mirror"});
    if (!waitUntil([&] {
            return session.graph().find("\"node.name\": \"mirror\"") != std::string::npos;
        })) {
        throw std::runtime_error("the second camera doesn't come");
    }
    const auto begun = std::chrono::steady_clock::now();
    scene.record("viewer", {"--camera", "--prop", "target.object=mirror"});
    if (!scene.tellsStart("viewer", within(2s), "the camera")) {
        return fell("who takes the pictures from the second camera wasn't told within 2 s");
    }
    const auto took = std::chrono::steady_clock::now() - begun;
    if (!scene.tellsStart("gst-launch", within(1s), "the camera")) {
        return fell("who takes the pictures from the real camera wasn't told");
    }
    return held("both were told, who looks at second hand after " +
                text(std::chrono::duration_cast<Bound>(took)));
}

} // namespace velmoran::attacks
