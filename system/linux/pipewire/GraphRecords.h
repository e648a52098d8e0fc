// What the server says of nodes and links, as records of the graph. Free functions; any thread.
// Uses libpipewire.
#pragma once

#include "system/linux/pipewire/GraphModel.h"

struct pw_link_info;
struct pw_node_info;
struct spa_dict;

namespace velmoran {

/// Each keeps what is known where the server doesn't repeat it.
void update(GraphNode& node, const spa_dict* props);
void update(GraphNode& node, const pw_node_info& info);
void update(GraphLink& link, const pw_link_info& info);

} // namespace velmoran
