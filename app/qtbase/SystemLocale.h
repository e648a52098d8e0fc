// In which languages the desktop speaks, and where it writes times as they are written: two
// settings of it, which people set apart. Pure; any thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct SystemLocale {
    std::vector<std::string> languages; ///< as "de", the one liked best first; none is like English
    std::string times;                  ///< as "de_DE"; empty where nothing is said of it

    bool operator==(const SystemLocale&) const = default;
};

/// By the variables that desktops and terminals set: LC_ALL before LC_MESSAGES or LC_TIME before
/// LANG, and LANGUAGE before all others where languages are concerned. `value` gives one of them,
/// empty if it isn't set. Where there are none of them, `otherwise` is both.
SystemLocale systemLocale(const std::function<std::string(const char* name)>& value,
                          const std::string& otherwise);

/// The language that was chosen, or else the first of the system's that Velmoran speaks, as it is
/// used where the system's times are written: whoever has an English desktop in Germany reads
/// 18:30 there, and not 6:30 PM.
std::string localeOf(const SystemLocale& system, const std::optional<std::string>& chosen);

} // namespace velmoran
