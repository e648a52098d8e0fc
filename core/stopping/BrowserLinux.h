// The well-known web browsers of the Linux desktop, beside those that are registered for web links
// at the moment, and who is one there. Pure; any thread.
#pragma once

#include "core/records/AppIdentity.h"

#include <string>
#include <string_view>
#include <vector>

namespace velmoran::Browser {

/// Ids of their desktop entries: of distributions' packages, of their makers' own, of flatpaks and
/// of snaps.
const std::vector<std::string>& knownOnLinux();

/// The names of the programs that they run as, which aren't always those of the commands.
const std::vector<std::string_view>& programsOnLinux();

/// Whether the app is a browser by its program alone: one that was unpacked in some folder has no
/// entry that tells what it is for. A name is easily taken, but all that it gets is a question.
bool runsABrowserOnLinux(const AppIdentity& app);

/// `isBrowser` as a Linux desktop needs it: by its own well-known browsers and programs too.
bool isBrowserOnLinux(const AppIdentity& app, std::vector<std::string> installed);

} // namespace velmoran::Browser
