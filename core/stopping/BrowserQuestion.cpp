#include "core/stopping/BrowserQuestion.h"

#include "core/text/Localizer.h"

namespace velmoran {

std::string BrowserQuestion::message() const {
    return words().text("Close %@?", {words().list(browsers)});
}

std::string BrowserQuestion::text() const {
    const auto names = words().list(browsers);
    auto text = words().text(
        "This closes all tabs and windows of %@, not only the page that is using the camera or "
        "microphone. Work you have not saved there may be lost.",
        {names});
    if (keepOffered) {
        text += " " + words().text("If you keep it open, the microphone is still muted and other "
                                   "apps are closed, but %@ may go on using the camera.",
                                   {names});
    }
    return text;
}

std::string BrowserQuestion::closeButton() const {
    return words().text("Close %@", {words().list(browsers)});
}

std::string BrowserQuestion::keepButton() const {
    return words().text("Stop the rest, keep %@ open", {words().list(browsers)});
}

std::string BrowserQuestion::cancelButton() const {
    return words().text("Cancel");
}

} // namespace velmoran
