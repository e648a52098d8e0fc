#include "system/linux/apps/LinuxPlaces.h"

#include "system/TextParsing.h"
#include "system/linux/kernel/Files.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string_view>
#include <system_error>

namespace velmoran {

namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name); // NOLINT: read once, before there are threads
    return value ? value : "";
}

/// The absolute folders of a list with colons; relative ones don't count.
std::vector<std::string> folders(std::string_view list) {
    std::vector<std::string> found;
    eachPiece(list, ':', [&](std::string_view folder) {
        while (folder.size() > 1 && folder.ends_with('/')) {
            folder.remove_suffix(1);
        }
        if (folder.starts_with('/')) {
            found.emplace_back(folder);
        }
    });
    return found;
}

/// `[Installation "NAME"]` with `Path=` (flatpak-installation(5)).
std::vector<FlatpakInstallation> furtherInstallations(const std::string& folder) {
    std::vector<FlatpakInstallation> found;
    for (const auto& name : sortedNamesIn(folder)) {
        const auto text = readFileUpTo(folder + '/' + name, 64UL * 1024);
        const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> keys(g_key_file_new(),
                                                                          &g_key_file_unref);
        if (!text || !name.ends_with(".conf") ||
            g_key_file_load_from_data(keys.get(), text->data(), text->size(), G_KEY_FILE_NONE,
                                      nullptr) == FALSE) {
            continue;
        }
        gsize count = 0;
        const std::unique_ptr<gchar*, decltype(&g_strfreev)> groups(
            g_key_file_get_groups(keys.get(), &count), &g_strfreev);
        for (gsize at = 0; at < count; ++at) {
            std::string_view group = groups.get()[at];
            constexpr std::string_view start = "Installation \"";
            const std::unique_ptr<gchar, decltype(&g_free)> path(
                g_key_file_get_string(keys.get(), groups.get()[at], "Path", nullptr), &g_free);
            if (path && path.get()[0] == '/' && group.starts_with(start) && group.ends_with('"')) {
                group = group.substr(start.size(), group.size() - start.size() - 1);
                found.push_back({.name = std::string(group), .path = path.get()});
            }
        }
    }
    return found;
}

} // namespace

LinuxPlaces LinuxPlaces::ofThisUser() {
    LinuxPlaces places;
    const std::string home = variable("HOME");
    std::error_code error;
    const auto realHome = std::filesystem::canonical(home, error);
    places.home = error || !realHome.has_relative_path() ? std::string() : realHome.string();
    std::string dataHome = variable("XDG_DATA_HOME");
    if (!dataHome.starts_with('/')) {
        dataHome = home + "/.local/share";
    }
    std::string dataFolders = variable("XDG_DATA_DIRS");
    if (dataFolders.empty()) {
        dataFolders = "/usr/local/share:/usr/share";
    }
    places.flatpaks = {{.name = "system", .path = "/var/lib/flatpak"},
                       {.name = "user", .path = dataHome + "/flatpak"}};
    for (auto& further : furtherInstallations("/etc/flatpak/installations.d")) {
        places.flatpaks.push_back(std::move(further));
    }

    auto all = folders(dataHome + ':' + dataFolders);
    for (const auto& flatpak : places.flatpaks) {
        all.push_back(flatpak.path + "/exports/share");
    }
    // Whatever the environment says, the system's own entries count.
    all.insert(all.end(), {"/var/lib/snapd/desktop", "/usr/local/share", "/usr/share"});
    for (const auto& folder : all) {
        const std::string applications = folder + "/applications";
        auto& known = places.applicationFolders;
        if (std::find(known.begin(), known.end(), applications) == known.end()) {
            known.push_back(applications);
        }
    }
    places.systemPath = {"/usr/local/bin",  "/usr/bin",         "/bin",
                         "/usr/local/sbin", "/usr/sbin",        "/sbin",
                         "/usr/games",      "/usr/local/games", "/snap/bin"};
    places.userPath = folders(variable("PATH"));
    return places;
}

} // namespace velmoran
