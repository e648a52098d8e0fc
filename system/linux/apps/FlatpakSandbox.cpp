#include "system/linux/apps/FlatpakSandbox.h"

#include "system/linux/apps/ScriptArgument.h"

#include <glib.h>

#include <filesystem>
#include <memory>

namespace velmoran {

namespace {

constexpr int mostParents = 8;

/// A path inside the sandbox as it is called outside; nothing if it isn't below that mount.
std::optional<std::string> outside(const std::string& inside, const std::string& mount,
                                   const std::string& files) {
    if (!inside.starts_with(mount + '/') || inside.find("/../") != std::string::npos) {
        return std::nullopt;
    }
    return files + inside.substr(mount.size());
}

/// "INSTALLATION/KIND" of the installation in which these files lie.
std::optional<std::string> folderOf(const std::string& files, const std::string& kind,
                                    const LinuxPlaces& places) {
    for (const auto& installation : places.flatpaks) {
        const std::string folder = installation.path + '/' + kind;
        if (isBelow(files, folder) && files.find("/../") == std::string::npos) {
            return folder;
        }
    }
    return std::nullopt;
}

/// Whether the process itself runs the app's own program, or the app's script by the runtime's
/// interpreter.
bool runsFilesOf(const FlatpakInfo& info, const ProcFs& proc, const LinuxPlaces& places,
                 pid_t pid) {
    const auto claim = proc.executableClaim(pid);
    if (!claim) {
        return false;
    }
    const std::string link = proc.path(pid, "exe");
    if (const auto file = outside(*claim, places.appMount, info.appPath)) {
        return isSameFile(link, *file);
    }
    const auto file = outside(*claim, places.runtimeMount, info.runtimePath);
    if (!file || !folderOf(info.runtimePath, "runtime", places) || !isSameFile(link, *file)) {
        return false;
    }
    const auto script = scriptArgument(*claim, proc.commandLine(pid));
    const auto scriptFile = script ? outside(*script, places.appMount, info.appPath) : std::nullopt;
    std::error_code ignored;
    return scriptFile && std::filesystem::is_regular_file(*scriptFile, ignored) &&
           isSameFile(proc.rootOf(pid) + *script, *scriptFile);
}

} // namespace

std::optional<FlatpakInfo> parseFlatpakInfo(std::string_view text) {
    const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> keys(g_key_file_new(),
                                                                      &g_key_file_unref);
    if (text.empty() || g_key_file_load_from_data(keys.get(), text.data(), text.size(),
                                                  G_KEY_FILE_NONE, nullptr) == FALSE) {
        return std::nullopt;
    }
    const auto value = [&](const char* group, const char* key) {
        const std::unique_ptr<gchar, decltype(&g_free)> found(
            g_key_file_get_string(keys.get(), group, key, nullptr), &g_free);
        return std::string(found ? found.get() : "");
    };
    FlatpakInfo info{.id = value("Application", "name"),
                     .appPath = value("Instance", "app-path"),
                     .runtimePath = value("Instance", "runtime-path")};
    if (info.id.empty() || info.id.find('/') != std::string::npos) {
        return std::nullopt;
    }
    return info;
}

std::optional<FlatpakOrigin> flatpakOrigin(const ProcFs& proc, const LinuxPlaces& places,
                                           pid_t pid) {
    const auto text = readFileUpTo(proc.rootOf(pid) + "/.flatpak-info", 64UL * 1024);
    const auto info = text ? parseFlatpakInfo(*text) : std::nullopt;
    const auto apps = info ? folderOf(info->appPath, "app", places) : std::nullopt;
    if (!apps) {
        return std::nullopt;
    }
    const std::string folder = *apps + '/' + info->id;
    if (!isBelow(info->appPath, folder)) {
        return std::nullopt;
    }
    const auto mounts = readLinkText(proc.path(pid, "ns/mnt"));
    for (int step = 0; step < mostParents && pid > 1; ++step) {
        if (readLinkText(proc.path(pid, "ns/mnt")) != mounts) {
            break;
        }
        if (runsFilesOf(*info, proc, places, pid)) {
            return FlatpakOrigin{.id = info->id, .folder = folder};
        }
        pid = proc.parent(pid).value_or(0);
    }
    return std::nullopt;
}

} // namespace velmoran
