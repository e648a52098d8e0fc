// Tells web browsers from other apps, since closing one loses all its tabs. Pure; any thread.
#pragma once

#include "core/records/AppIdentity.h"
#include "core/records/RawValue.h"

#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

/// What the user wants done with browsers that a stop would close.
enum class BrowserAnswer {
    close,
    keep, ///< stop everything else and leave the browsers open
    cancel,
};

constexpr std::array<std::string_view, 3> caseNames(BrowserAnswer) {
    return {"close", "keep", "cancel"};
}

namespace Browser {

/// Identifiers of the well-known browsers, each once; what a Linux desktop calls them beside that
/// stands in BrowserLinux.
const std::vector<std::string_view>& known();

/// `installed`: identifiers of the applications that are registered for web links right now. The
/// case of identifiers doesn't matter, and a helper whose identifier is a browser's with further
/// parts behind it is that browser.
bool isBrowser(const AppIdentity& app, const std::vector<std::string>& installed);

} // namespace Browser
} // namespace velmoran
