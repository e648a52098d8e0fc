// The names that nothing shows here which root didn't put there: those of root's entries and
// programs, of the system's own programs, of this program, and what this calls those that it can't
// name. Read when first asked, and again when the entries or the system's folders of programs have
// changed since. Not safe to be shared: whoever owns it calls it under the lock of the entries.
#pragma once

#include "system/linux/apps/DesktopEntries.h"
#include "system/linux/apps/FolderStamp.h"
#include "system/linux/apps/LinuxPlaces.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace velmoran {

class RootsNames {
public:
    /// The entries outlive it.
    RootsNames(const LinuxPlaces& places, const DesktopEntries& entries)
        : folders_(places.systemPath),
          entries_(entries) {}

    /// Whether a name is one of these or looks like one (`nameSkeleton`). One status call a folder
    /// unless something has changed.
    bool haveLookalikeOf(std::string_view name);

private:
    std::vector<FolderStamp> currentStamps() const;
    void read();
    void add(std::string_view name);

    std::vector<std::string> folders_;
    const DesktopEntries& entries_;
    std::unordered_set<std::string> skeletons_;
    std::vector<FolderStamp> stamps_;
    std::size_t readings_ = 0; ///< of the entries, when these were taken
};

} // namespace velmoran
