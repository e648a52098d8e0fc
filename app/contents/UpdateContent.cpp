#include "app/contents/UpdateContent.h"

#include "core/text/ConfinedText.h"
#include "core/text/Localizer.h"

namespace velmoran::UpdateContent {

namespace {

constexpr std::size_t longestVersion = 40;

} // namespace

std::string versionText(const std::string& running) {
    return words().text("Version %@", {running});
}

std::string statusText(std::optional<Outcome> outcome, const std::string& found) {
    if (!outcome) {
        return words().text("Velmoran only looks for a new version when you ask.");
    }
    switch (*outcome) {
    case Outcome::upToDate:
        return words().text("You have the newest version.");
    case Outcome::newer:
        return words().text("Version %@ is available.", {confinedText(found, longestVersion)});
    case Outcome::failed:
        break;
    }
    return words().text("The website couldn't be reached. Try again later.");
}

std::string whyNot() {
    return words().text("This Velmoran was built without a website that it could ask.");
}

std::string advice() {
    return words().text("Download the new version and replace the old app with it.");
}

} // namespace velmoran::UpdateContent
