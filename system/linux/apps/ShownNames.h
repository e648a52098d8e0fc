// What an app is called for people. What root put there has the name of its entry or file, and
// nothing else has a name that could be taken for one of these: it carries its folder, as in
// "dictate.py (~/scripts)", and an entry of its own names it only if that is none of root's names.
// All of it does, not only what resembles something: a name by which nobody is known here yet, such
// as that of a program that everybody has heard of, deceives as well. Owned by LinuxAppNames, which
// calls it under the lock of the entries.
#pragma once

#include "core/records/SystemSnapshot.h"
#include "system/linux/apps/DesktopEntries.h"
#include "system/linux/apps/LinuxPlaces.h"
#include "system/linux/apps/RootsNames.h"

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// What a process runs.
struct ProgramFile {
    std::string path; ///< its real one, or what `ProcFs::executable` gives
    bool isRoots = false;
    bool isDeleted = false;               ///< and known to be; says nothing of one of root's
    std::optional<std::string> link = {}; ///< root's link by which one of root's was started
};

class ShownNames {
public:
    /// The entries outlive it.
    ShownNames(const LinuxPlaces& places, const DesktopEntries& entries)
        : places_(places),
          entries_(entries),
          roots_(places, entries) {}

    /// Whether an entry that starts this program may name and picture it: one of root's if both
    /// are, and never one that renames a program of root's or looks like another of his names.
    bool isBelieved(const DesktopEntries::Found& found, bool programIsRoots);
    /// The entry that may name and picture a flatpak; null if there is none.
    const DesktopEntries::Found* believedOfFlatpak(const std::string& id, bool isRoots);

    std::string ofFile(const ProgramFile& file) const;
    /// Of an entry that is believed.
    std::string ofEntry(const DesktopEntries::Found& found, const ProgramFile& file) const;
    /// The picture of the entry that the app has its name from: a name of the icon theme or an
    /// absolute path.
    std::optional<std::string> iconOf(const AppRef& app);
    /// `folder` is "INSTALLATION/app/ID", of which the installation is shown.
    std::string ofFlatpak(const std::string& id, const std::string& folder, bool isRoots);

private:
    std::string withPlace(std::string_view name, const ProgramFile& file) const;
    std::string shownFolder(std::string_view folder) const;

    LinuxPlaces places_;
    const DesktopEntries& entries_;
    RootsNames roots_;
};

} // namespace velmoran
