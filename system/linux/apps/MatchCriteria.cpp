#include "system/linux/apps/MatchCriteria.h"

#include "system/TextParsing.h"
#include "system/linux/apps/MountedImage.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>

namespace velmoran {

namespace {

bool isInstalledFlatpak(const std::string& id, const LinuxPlaces& places) {
    return std::any_of(places.flatpaks.begin(), places.flatpaks.end(), [&](const auto& each) {
        const std::string apps = each.path + "/app";
        return id.find('/') == std::string::npos ? fileNumber(apps + '/' + id).has_value()
                                                 : isBelow(id, apps);
    });
}

} // namespace

MatchCriteria MatchCriteria::of(const std::string& id, const DesktopEntries& entries,
                                const LinuxPlaces& places) {
    MatchCriteria criteria;
    criteria.mayBeFlatpak = isInstalledFlatpak(id, places);
    if (id.starts_with('/')) {
        criteria.files.push_back(id);
        for (const auto& root : places.snapRoots) {
            if (isBelow(id, root)) {
                criteria.folders.push_back(id);
            }
        }
    }
    for (const auto& found : entries.all()) {
        if (found.entry.id != id) {
            continue;
        }
        if (!found.program.empty()) {
            criteria.files.push_back(found.program);
        }
        if (found.entry.snap) {
            for (const auto& root : places.snapRoots) {
                criteria.folders.push_back(root + '/' + *found.entry.snap);
            }
        }
    }
    for (const auto& file : criteria.files) {
        if (auto folder = ownFolder(file)) {
            criteria.folders.push_back(std::move(*folder));
        }
        auto wrapped = entries.foldersOf(file);
        criteria.folders.insert(criteria.folders.end(), wrapped.begin(), wrapped.end());
        auto mounted = foldersOfImage(ProcFs(places.procRoot), file);
        criteria.folders.insert(criteria.folders.end(), mounted.begin(), mounted.end());
    }
    return criteria;
}

bool MatchCriteria::fit(const std::string& executable) const {
    return isNamedAsOne(executable) ||
           std::any_of(folders.begin(), folders.end(),
                       [&](const std::string& folder) {
                           return executable == folder || isBelow(executable, folder);
                       }) ||
           worksForItsParent(executable);
}

bool MatchCriteria::isNamedAsOne(std::string_view path) const {
    return std::any_of(files.begin(), files.end(),
                       [&](const std::string& file) { return fileName(file) == fileName(path); });
}

bool worksForItsParent(std::string_view executable) {
    return isListed(fileName(executable), "WebKitWebProcess WebKitNetworkProcess WebKitGPUProcess "
                                          "QtWebEngineProcess xdg-dbus-proxy");
}

} // namespace velmoran
