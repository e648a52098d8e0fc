// Which connection each of several clients can have. Of each is known which connections were there
// when it came, one of which is its own; that no two have the same one often leaves only one. Plain
// values; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace velmoran {

/// What the server calls a client for as long as its connection lasts; never used twice.
using ClientKey = std::uint64_t;
/// Client's ends of connections, by their inodes.
using Ends = std::vector<std::uint64_t>;
using EndsOfClients = std::map<ClientKey, Ends>;

bool contains(const Ends& ends, std::uint64_t end);
Ends common(const Ends& ends, const Ends& others);
Ends without(Ends ends, const Ends& others);
/// All of them, each once.
Ends allOf(const EndsOfClients& clients);

/// Of its candidates those that a client has in some reading in which every client has one. Nothing
/// if there is no such reading: then somebody's has been closed already.
std::optional<EndsOfClients> readingsOf(const EndsOfClients& candidates);

} // namespace velmoran
