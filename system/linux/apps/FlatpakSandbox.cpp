#include "system/linux/apps/FlatpakSandbox.h"

#include "system/linux/apps/ScriptArgument.h"

#include <glib.h>
#include <sys/stat.h>

#include <memory>

namespace velmoran {

namespace {

constexpr int mostAncestors = 8;

bool isSameFile(const std::string& a, const std::string& b) {
    struct stat first {};
    struct stat second {};
    return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 &&
           S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

/// A path inside the sandbox as it is called outside; nothing if it isn't below that mount.
std::optional<std::string> outside(const std::string& inside, const std::string& mount,
                                   const std::string& files) {
    if (!inside.starts_with(mount + '/') || inside.find("/../") != std::string::npos) {
        return std::nullopt;
    }
    return files + inside.substr(mount.size());
}

/// "INSTALLATION/KIND/…" of the installation in which these files lie.
bool liesIn(const std::string& files, const std::string& kind, const LinuxPlaces& places,
            std::string* folder) {
    if (files.find("/../") != std::string::npos) {
        return false;
    }
    for (const auto& installation : places.flatpaks) {
        const std::string start = installation.path + '/' + kind;
        if (files.starts_with(start + '/')) {
            *folder = start;
            return true;
        }
    }
    return false;
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
    std::string folder;
    if (!file || !liesIn(info.runtimePath, "runtime", places, &folder) ||
        !isSameFile(link, *file)) {
        return false;
    }
    const auto script = scriptArgument(*claim, proc.commandLine(pid));
    const auto scriptFile = script ? outside(*script, places.appMount, info.appPath) : std::nullopt;
    return scriptFile && isSameFile(proc.rootOf(pid) + *script, *scriptFile);
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
    std::string apps;
    if (!info || !liesIn(info->appPath, "app", places, &apps)) {
        return std::nullopt;
    }
    const std::string folder = apps + '/' + info->id;
    if (!info->appPath.starts_with(folder + '/')) {
        return std::nullopt;
    }
    const auto mounts = readLinkText(proc.path(pid, "ns/mnt"));
    for (int step = 0; step < mostAncestors && pid > 1; ++step) {
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
