// What the settings say of the program's version and of a newer one. In the language of the
// process-wide words; any thread.
#pragma once

#include <optional>
#include <string>

namespace velmoran::UpdateContent {

/// What a look for a newer version has come to.
enum class Outcome { newer, upToDate, failed };

std::string versionText(const std::string& running);
/// Nothing while nobody has looked. `found` is what the server said, which may be anything: it is
/// cut to what a version needs.
std::string statusText(std::optional<Outcome> outcome, const std::string& found = {});
/// Why this build can't look.
std::string whyNot();
/// Where there is a newer one, what to do.
std::string advice();

} // namespace velmoran::UpdateContent
