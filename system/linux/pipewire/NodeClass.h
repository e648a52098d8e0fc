// What a node of the graph is, by its class. Free functions; any thread.
#pragma once

#include "system/linux/pipewire/GraphModel.h"

#include <string_view>

namespace velmoran {

/// Of that class or of one below it: "Audio/Source/Virtual" is of "Audio/Source".
bool isOfClass(const GraphNode& node, std::string_view wanted);
bool isMicrophone(const GraphNode& node);
bool isSpeaker(const GraphNode& node);
bool isCamera(const GraphNode& node);
bool isDevice(const GraphNode& node);

} // namespace velmoran
