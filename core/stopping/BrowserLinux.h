// The well-known web browsers of the Linux desktop, beside those that are registered for web links
// at the moment. Constant; any thread.
#pragma once

#include <string>
#include <vector>

namespace velmoran::Browser {

/// Ids of their desktop entries: of distributions' packages, of their makers' own, of flatpaks and
/// of snaps.
const std::vector<std::string>& knownOnLinux();

} // namespace velmoran::Browser
