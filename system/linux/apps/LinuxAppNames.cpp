#include "system/linux/apps/LinuxAppNames.h"

#include "core/sessions/SystemProcessLinux.h"
#include "core/text/Localizer.h"
#include "system/linux/apps/CgroupScope.h"
#include "system/linux/apps/FlatpakSandbox.h"
#include "system/linux/apps/MountedImage.h"
#include "system/linux/apps/OutsidePath.h"
#include "system/linux/apps/RegisteredBrowsers.h"
#include "system/linux/apps/ScriptArgument.h"
#include "system/linux/apps/ScriptFile.h"
#include "system/linux/apps/StartedLink.h"

#include <glib.h>

#include <algorithm>

namespace velmoran {

namespace {

constexpr int mostAncestors = 8;

ProgramFile fileOf(pid_t pid, const std::string& path, ScanCache& cache) {
    const bool isRoots = cache.isProtected(path);
    return {.path = path,
            .isRoots = isRoots,
            .isDeleted = !isRoots && cache.executableLink(pid) == path + std::string(deletedMark)};
}

std::string firstOf(const std::vector<std::string>& arguments) {
    return arguments.empty() ? std::string() : arguments.front();
}

bool startsIgnoringCase(const std::string& text, const std::string& start) {
    return g_ascii_strncasecmp(text.c_str(), start.c_str(), start.size()) == 0;
}

/// Of too many the one goes that was put there first.
template <typename Key, typename Value>
void putBounded(std::unordered_map<Key, Value>& map, std::deque<Key>& order, const Key& key,
                Value value) {
    if (!map.insert_or_assign(key, std::move(value)).second) {
        return;
    }
    order.push_back(key);
    if (order.size() > LinuxAppNames::mostRemembered) {
        map.erase(order.front());
        order.pop_front();
    }
}

} // namespace

LinuxAppNames::LinuxAppNames(LinuxPlaces places)
    : places_(std::move(places)),
      proc_(places_.procRoot),
      entries_(places_) {}

AppRef LinuxAppNames::ofProcess(const AudioProcess& process) {
    const auto known = pinned_.find(process.objectID);
    return known != pinned_.end() ? known->second : identify(process.pid);
}

AppRef LinuxAppNames::ofBundleID(const std::string& bundleID) {
    if (const auto known = seen_.find(bundleID); known != seen_.end()) {
        return known->second;
    }
    if (bundleID.starts_with('/')) {
        return named(
            ProgramFile{.path = bundleID, .isRoots = places_.protection.protects(bundleID)});
    }
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    const auto* found = entries_.byID(bundleID);
    if (found && found->isProtected) {
        return AppRef{.name = found->entry.name,
                      .bundleID = bundleID,
                      .path =
                          found->program.empty() ? std::nullopt : std::optional(found->program)};
    }
    return AppRef{.name = bundleID,
                  .bundleID = bundleID.empty() ? std::nullopt : std::optional(bundleID),
                  .path = {}};
}

AppRef LinuxAppNames::identify(pid_t pid) {
    // The start before and after: else another process could have taken the id meanwhile.
    const auto start = proc_.startTicks(pid);
    if (!start) {
        return unidentified(std::to_string(pid));
    }
    std::optional<AppRef> app;
    {
        const std::lock_guard lock(mutex_);
        entries_.refresh();
        auto cache = newCache();
        app = nameProcess(pid, cache);
    }
    if (!app || proc_.startTicks(pid) != start) {
        return unidentified(std::to_string(pid));
    }
    return remember(pid, *start, std::move(*app));
}

std::optional<AppRef> LinuxAppNames::resolve(pid_t pid) {
    {
        const std::lock_guard lock(mutex_);
        entries_.refresh();
    }
    auto cache = newCache();
    return resolve(pid, cache);
}

std::optional<AppRef> LinuxAppNames::resolve(pid_t pid, ScanCache& cache) {
    const std::lock_guard lock(mutex_);
    auto app = nameProcess(pid, cache);
    return app ? app : rememberedProcess(pid);
}

std::optional<AppRef> LinuxAppNames::nameProcess(pid_t pid, ScanCache& cache) {
    if (auto app = nameFlatpak(pid)) {
        return app;
    }
    const auto executable = cache.executable(pid);
    if (!executable) {
        const auto thread = proc_.survivingThread(pid);
        return thread ? nameProcess(*thread, cache) : nameSandboxed(pid, cache);
    }
    auto app = nameSnap(pid, *executable);
    return app ? app : nameExecutable(pid, *executable, cache);
}

MatchCriteria LinuxAppNames::criteriaOf(const std::string& id) {
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    auto criteria = MatchCriteria::of(id, entries_, places_);
    for (const auto& [pid, identified] : processes_) {
        if (identified.app.id() == id) {
            criteria.processes.push_back(pid);
        }
    }
    return criteria;
}

AppRef LinuxAppNames::unidentified(const std::string& key) {
    return AppRef::unidentifiedAs("unidentified:" + key);
}

void LinuxAppNames::pin(std::uint32_t objectID, AppRef app) {
    pinned_[objectID] = std::move(app);
}

void LinuxAppNames::unpin(std::uint32_t objectID) {
    pinned_.erase(objectID);
}

std::vector<std::string> LinuxAppNames::browsers() {
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    return registeredBrowsers(entries_, places_);
}

std::optional<std::string> LinuxAppNames::iconName(const AppRef& app) {
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    return shown_.iconOf(app);
}

std::optional<AppRef> LinuxAppNames::nameFlatpak(pid_t pid) {
    const auto origin = flatpakOrigin(proc_, places_, pid);
    if (!origin) {
        return std::nullopt;
    }
    const bool isRoots = places_.protection.protects(origin->folder);
    return AppRef{.name = shown_.ofFlatpak(origin->id, origin->folder, isRoots),
                  .bundleID = isRoots ? ownID(origin->id) : std::nullopt,
                  .path = origin->folder};
}

std::optional<AppRef> LinuxAppNames::nameSnap(pid_t pid, const std::string& executable) {
    for (const auto& root : places_.snapRoots) {
        if (!isBelow(executable, root) || !places_.protection.protects(executable)) {
            continue;
        }
        const auto end = executable.find('/', root.size() + 1);
        if (end == std::string::npos) {
            continue;
        }
        const std::string folder = executable.substr(0, end);
        const std::string snap(fileName(folder));
        const auto scope = parseCgroupScope(proc_.cgroupPaths(pid));
        const bool isOfSnap = scope && scope->kind == CgroupScope::Kind::snap && scope->id == snap;
        const auto* found = entries_.bySnap(snap, isOfSnap ? scope->app : std::string());
        return AppRef{.name = found ? found->entry.name : snap,
                      .bundleID = found ? ownID(found->entry.id) : std::nullopt,
                      .path = folder};
    }
    return std::nullopt;
}

AppRef LinuxAppNames::nameExecutable(pid_t pid, const std::string& executable, ScanCache& cache) {
    // The system's own are themselves, whatever started them.
    if (linuxSystemIdentifier(executable) && cache.isProtected(executable)) {
        const auto script =
            isInterpreter(executable) ? scriptFile(pid, executable, proc_, cache) : std::nullopt;
        if (script && !cache.isProtected(*script)) {
            return named(fileOf(pid, *script, cache)); // what they do then isn't the system's
        }
        const auto app = nameProgram(pid, executable, cache);
        return app ? *app : named(fileOf(pid, executable, cache));
    }
    if (liesInMemory(executable)) {
        return named(fileOf(pid, executable, cache));
    }
    if (auto app = nameImage(pid, executable, cache)) {
        return *app;
    }
    if (isInterpreter(executable)) {
        return nameScript(pid, executable, cache);
    }
    if (auto app = nameProgram(pid, executable, cache)) {
        return *app;
    }
    if (auto app = nameHelper(pid, executable, cache)) {
        return *app;
    }
    if (cache.isProtected(executable)) {
        if (const auto entries = entries_.byFolderOf(executable); !entries.empty()) {
            const auto& found = chosen(entries, pid);
            return named(found, {.path = found.program, .isRoots = true});
        }
    }
    return nameFile(pid, executable, firstOf(cache.commandLine(pid)), cache);
}

std::optional<AppRef> LinuxAppNames::nameSandboxed(pid_t pid, ScanCache& cache) {
    const auto inside = proc_.sharesMounts(pid) ? std::nullopt : cache.executableLink(pid);
    const auto program =
        inside ? outsidePath(proc_, pid, *inside, proc_.path(pid, "exe")) : std::nullopt;
    // With other files around it, it needn't do what the system's own does.
    if (!program || linuxSystemIdentifier(*program)) {
        return std::nullopt;
    }
    auto app = nameExecutable(pid, *program, cache);
    app.name = words().text("%@, in a sandbox", {app.name});
    return app;
}

std::optional<AppRef> LinuxAppNames::nameImage(pid_t pid, const std::string& file,
                                               ScanCache& cache) {
    const auto image = cache.isProtected(file) ? std::nullopt : mountedImage(proc_, pid, file);
    if (!image) {
        return std::nullopt;
    }
    const auto app = nameProgram(pid, *image, cache);
    return app ? *app : named(fileOf(pid, *image, cache));
}

AppRef LinuxAppNames::nameFile(pid_t pid, const std::string& file, const std::string& word,
                               ScanCache& cache) {
    auto program = fileOf(pid, file, cache);
    program.link = program.isRoots ? startedLink(word, file, places_) : std::nullopt;
    return named(program);
}

std::optional<AppRef> LinuxAppNames::nameProgram(pid_t pid, const std::string& program,
                                                 ScanCache& cache) {
    const auto entries = entries_.byProgram(program);
    if (entries.empty()) {
        return std::nullopt;
    }
    const auto& found = chosen(entries, pid);
    const auto file = fileOf(pid, program, cache);
    return shown_.isBelieved(found, file.isRoots) ? named(found, file) : named(file);
}

AppRef LinuxAppNames::nameScript(pid_t pid, const std::string& interpreter, ScanCache& cache) {
    auto script = scriptFile(pid, interpreter, proc_, cache);
    if (!script && interpreter.find("/electron") != std::string::npos) {
        // A helper of the program that its parent runs in the same interpreter.
        pid = proc_.parent(pid).value_or(0);
        if (cache.executable(pid) == interpreter) {
            script = scriptFile(pid, interpreter, proc_, cache);
        }
    }
    const auto arguments = cache.commandLine(pid);
    if (!script) {
        return nameFile(pid, interpreter, firstOf(arguments), cache);
    }
    if (auto app = nameImage(pid, *script, cache)) {
        return *app;
    }
    const auto app = nameProgram(pid, *script, cache);
    const auto word = scriptArgument(interpreter, arguments);
    return app ? *app : nameFile(pid, *script, word.value_or(""), cache);
}

std::optional<AppRef> LinuxAppNames::nameHelper(pid_t pid, const std::string& executable,
                                                ScanCache& cache) {
    const bool isGuarded = cache.isProtected(executable);
    const bool worksForParent = isGuarded && worksForItsParent(executable);
    if (!worksForParent && !mayLieInOwnFolder(executable)) {
        return std::nullopt; // the ancestors cost more than all else
    }
    pid_t ancestor = pid;
    for (int step = 0; step < mostAncestors; ++step) {
        ancestor = proc_.parent(ancestor).value_or(0);
        if (ancestor <= 1) {
            break;
        }
        const auto program = cache.executable(ancestor);
        if (!program) {
            break;
        }
        if (worksForParent) {
            // Started through sandboxes and proxies; the first that is neither is the app.
            if (isLauncher(*program) || worksForItsParent(*program)) {
                continue;
            }
            return nameExecutable(ancestor, *program, cache);
        }
        const auto folder = ownFolder(*program);
        if (!folder || !isBelow(executable, *folder) || isGuarded != cache.isProtected(*program)) {
            continue;
        }
        // A folder of the user's may hold anything; one named as its program is that program's.
        const std::string folderName(fileName(*folder));
        const std::string programName(fileName(*program));
        if (!isGuarded && !startsIgnoringCase(folderName, programName) &&
            !startsIgnoringCase(programName, folderName)) {
            continue;
        }
        if (auto app = nameProgram(ancestor, *program, cache)) {
            return app;
        }
    }
    return std::nullopt;
}

const DesktopEntries::Found&
LinuxAppNames::chosen(const std::vector<const DesktopEntries::Found*>& entries, pid_t pid) const {
    // Several apps may be one program called in different ways; the scope says which was meant.
    if (entries.size() > 1) {
        const auto scope = parseCgroupScope(proc_.cgroupPaths(pid));
        for (const auto* found : entries) {
            if (scope && scope->kind == CgroupScope::Kind::desktop &&
                found->entry.id == scope->id && found->isTrusted == entries.front()->isTrusted) {
                return *found;
            }
        }
    }
    return *entries.front();
}

AppRef LinuxAppNames::named(const ProgramFile& file) const {
    return AppRef{.name = shown_.ofFile(file), .bundleID = {}, .path = file.path};
}

AppRef LinuxAppNames::named(const DesktopEntries::Found& found, const ProgramFile& file) const {
    return AppRef{.name = shown_.ofEntry(found, file),
                  .bundleID = found.isTrusted ? ownID(found.entry.id) : std::nullopt,
                  .path = file.path};
}

AppRef LinuxAppNames::remember(pid_t pid, std::uint64_t start, AppRef app) {
    putBounded(seen_, seenOrder_, app.id(), app);
    const std::lock_guard lock(mutex_);
    putBounded(processes_, processOrder_, pid, Identified{.start = start, .app = app});
    return app;
}

std::optional<AppRef> LinuxAppNames::rememberedProcess(pid_t pid) const {
    const auto known = processes_.find(pid);
    if (known == processes_.end()) {
        return std::nullopt;
    }
    const auto now = proc_.stat(pid);
    const bool isSame = now && now->startTicks == known->second.start && now->state != 'Z';
    return isSame ? std::optional(known->second.app) : std::nullopt;
}

} // namespace velmoran
