// A month of somebody who works at a desk: their apps and what these used. The same each time, so
// that a picture changes only where the program does.
#pragma once

#include "core/away/AwayReport.h"
#include "core/history/HistoryStore.h"
#include "core/records/SystemSnapshot.h"

#include <string>
#include <string_view>
#include <vector>

namespace velmoran::pictures {

/// A Wednesday in May 2026, 14:32 in Berlin: when the pictures are taken.
inline constexpr Timestamp moment{800973120};

/// Each app's name after "org.example.".
std::vector<std::string_view> installed();
const AppRef& app(std::string_view shortID);
AppIdentity identity(std::string_view shortID);
/// As a picture's colour and form: the place of the app among all; nothing for one without.
std::optional<int> pictureOf(const AppIdentity& app);

/// Who is called while the pictures are taken.
inline constexpr std::string_view call = "harbour";

/// What happened while its owner was away, the newest first.
std::vector<AwayReport> reports();

void fill(HistoryStore& store);

} // namespace velmoran::pictures
