#include "system/linux/pipewire/NodeClass.h"

namespace velmoran {

bool isOfClass(const GraphNode& node, std::string_view wanted) {
    const std::string_view mediaClass = node.mediaClass;
    return mediaClass.starts_with(wanted) &&
           (mediaClass.size() == wanted.size() || mediaClass[wanted.size()] == '/');
}

bool isMicrophone(const GraphNode& node) {
    return isOfClass(node, "Audio/Source") || isOfClass(node, "Audio/Duplex");
}

bool isSpeaker(const GraphNode& node) {
    return isOfClass(node, "Audio/Sink") || isOfClass(node, "Audio/Duplex");
}

bool isCamera(const GraphNode& node) {
    return isOfClass(node, "Video/Source") && node.mediaRole == "Camera";
}

bool isDevice(const GraphNode& node) {
    return isMicrophone(node) || isSpeaker(node) || isOfClass(node, "Video/Source");
}

} // namespace velmoran
