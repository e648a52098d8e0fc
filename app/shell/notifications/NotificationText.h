// A notice's words as a desktop's notification takes them: plain text, of which nobody makes markup
// or a link. Pure.
#pragma once

#include <string>

namespace velmoran {

/// One line. Notifications show a title as it is.
std::string notificationTitle(const std::string& title);

/// `hasMarkup`: the desktop reads markup in it, which is written so that it shows the text itself.
std::string notificationBody(const std::string& text, bool hasMarkup);

} // namespace velmoran
