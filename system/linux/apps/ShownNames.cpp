#include "system/linux/apps/ShownNames.h"

#include "core/text/ConfinedText.h"
#include "core/text/Localizer.h"
#include "core/text/VisibleText.h"
#include "system/linux/kernel/Files.h"

namespace velmoran {

namespace {

// Together with what happened they fit a card, whose last line would lose the folder otherwise.
constexpr std::size_t nameColumns = 36;
constexpr std::size_t folderColumns = 30;

std::string shownName(std::string_view name) {
    auto shown = confinedText(name, nameColumns);
    return shown.empty() ? "\uFFFD" : shown;
}

} // namespace

bool ShownNames::isBelieved(const DesktopEntries::Found& found, bool programIsRoots) {
    return found.isTrusted || (!programIsRoots && !roots_.haveLookalikeOf(found.entry.name));
}

const DesktopEntries::Found* ShownNames::believedOfFlatpak(const std::string& id, bool isRoots) {
    const auto* found = entries_.byFlatpak(id);
    const bool isBelieved = found && found->isProtected == isRoots &&
                            (isRoots || !roots_.haveLookalikeOf(found->entry.name));
    return isBelieved ? found : nullptr;
}

std::string ShownNames::ofFile(const ProgramFile& file) const {
    const std::string name = file.link.value_or(std::string(fileName(file.path)));
    if (file.isRoots) {
        // A file may be called by a blank; nobody goes without a name for that.
        return showsAnything(name) ? name : file.path;
    }
    return withPlace(name, file);
}

std::string ShownNames::ofEntry(const DesktopEntries::Found& found, const ProgramFile& file) const {
    return found.isTrusted ? found.entry.name : withPlace(found.entry.name, file);
}

std::string ShownNames::ofFlatpak(const std::string& id, const std::string& folder, bool isRoots) {
    const auto* found = believedOfFlatpak(id, isRoots);
    const auto& name = found ? found->entry.name : id;
    return isRoots ? name : shownName(name) + " (" + shownFolder(parentOf(parentOf(folder))) + ')';
}

std::optional<std::string> ShownNames::iconOf(const AppRef& app) {
    if (app.bundleID) {
        const auto* found = entries_.byID(*app.bundleID);
        return found && found->isProtected ? found->entry.icon : std::nullopt;
    }
    if (!app.path) {
        return std::nullopt;
    }
    const ProgramFile file{.path = *app.path, .isRoots = places_.protection.protects(*app.path)};
    for (const auto* found : entries_.byProgram(*app.path)) {
        if (found->entry.icon && ofEntry(*found, file) == app.name &&
            isBelieved(*found, file.isRoots)) {
            return found->entry.icon;
        }
    }
    for (const auto& flatpak : places_.flatpaks) {
        if (isBelow(*app.path, flatpak.path + "/app")) {
            const auto* found = believedOfFlatpak(std::string(fileName(*app.path)), file.isRoots);
            return found ? found->entry.icon : std::nullopt;
        }
    }
    return std::nullopt;
}

std::string ShownNames::withPlace(std::string_view name, const ProgramFile& file) const {
    if (liesInMemory(file.path)) {
        // All of it is the program's own word, slashes too: none of it is a folder.
        return words().text("%@ (in memory, not a file)", {shownName(file.path.substr(1))});
    }
    const auto folder = shownFolder(parentOf(file.path));
    if (file.isDeleted) {
        return words().text("%1$@ (%2$@, deleted)", {shownName(name), folder});
    }
    return shownName(name) + " (" + folder + ')';
}

std::string ShownNames::shownFolder(std::string_view folder) const {
    std::string shown(folder.empty() ? "/" : folder);
    if (!places_.home.empty() && (folder == places_.home || isBelow(folder, places_.home))) {
        shown = '~' + shown.substr(places_.home.size());
    }
    return confinedText(shown, folderColumns);
}

} // namespace velmoran
