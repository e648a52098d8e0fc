#include "system/linux/apps/RootsNames.h"

#include "core/records/AppIdentity.h"
#include "core/sessions/SystemProcessLinux.h"
#include "core/text/NameSkeleton.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <utility>

namespace velmoran {

std::vector<FolderStamp> RootsNames::currentStamps() const {
    std::vector<FolderStamp> stamps;
    stamps.reserve(folders_.size());
    for (const auto& folder : folders_) {
        stamps.push_back(FolderStamp::of(folder));
    }
    return stamps;
}

bool RootsNames::haveLookalikeOf(std::string_view name) {
    // Before the reading: what changes meanwhile is then read once more, not missed.
    if (auto stamps = currentStamps();
        skeletons_.empty() || readings_ != entries_.readings() || stamps != stamps_) {
        stamps_ = std::move(stamps);
        read();
    }
    return skeletons_.contains(nameSkeleton(name));
}

void RootsNames::read() {
    readings_ = entries_.readings();
    skeletons_.clear();
    for (const auto& name : AppIdentity::unknownNames()) {
        add(name);
    }
    add("Velmoran");
    for (const auto& program : linuxSystemPrograms()) {
        for (const auto path : program.paths) {
            add(fileName(path));
        }
    }
    for (const auto& found : entries_.all()) {
        if (found.isProtected) {
            add(found.entry.name);
            add(found.entry.plainName);
        }
        if (found.isTrusted) {
            add(fileName(found.program));
        }
    }
    for (std::size_t at = 0; at < folders_.size(); ++at) {
        const auto stamp = stamps_.begin() + static_cast<std::ptrdiff_t>(at);
        if (std::find(stamps_.begin(), stamp, *stamp) != stamp) {
            continue; // /bin is /usr/bin
        }
        for (const auto& name : sortedNamesIn(folders_[at])) {
            add(name);
        }
    }
}

void RootsNames::add(std::string_view name) {
    if (auto skeleton = nameSkeleton(name); !skeleton.empty()) {
        skeletons_.insert(std::move(skeleton));
    }
}

} // namespace velmoran
