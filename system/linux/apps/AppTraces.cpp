#include "system/linux/apps/AppTraces.h"

#include "system/TextParsing.h"
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

AppTraces AppTraces::of(const std::string& id, const DesktopEntries& entries,
                        const LinuxPlaces& places) {
    AppTraces traces;
    traces.mayBeFlatpak = isInstalledFlatpak(id, places);
    if (id.starts_with('/')) {
        traces.files.push_back(id);
        for (const auto& root : places.snapRoots) {
            if (isBelow(id, root)) {
                traces.folders.push_back(id);
            }
        }
    }
    for (const auto& found : entries.all()) {
        if (found.entry.id != id) {
            continue;
        }
        if (!found.program.empty()) {
            traces.files.push_back(found.program);
        }
        if (found.entry.snap) {
            for (const auto& root : places.snapRoots) {
                traces.folders.push_back(root + '/' + *found.entry.snap);
            }
        }
    }
    for (const auto& file : traces.files) {
        if (auto folder = ownFolder(file)) {
            traces.folders.push_back(std::move(*folder));
        }
        auto wrapped = entries.foldersOf(file);
        traces.folders.insert(traces.folders.end(), wrapped.begin(), wrapped.end());
    }
    return traces;
}

bool AppTraces::fit(const std::string& executable) const {
    return std::find(files.begin(), files.end(), executable) != files.end() ||
           std::any_of(folders.begin(), folders.end(),
                       [&](const std::string& folder) { return isBelow(executable, folder); }) ||
           worksForItsParent(executable);
}

bool worksForItsParent(std::string_view executable) {
    return isListed(fileName(executable), "WebKitWebProcess WebKitNetworkProcess WebKitGPUProcess "
                                          "QtWebEngineProcess xdg-dbus-proxy");
}

} // namespace velmoran
