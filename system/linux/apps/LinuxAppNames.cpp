#include "system/linux/apps/LinuxAppNames.h"

#include "core/records/AppIdentity.h"
#include "core/sessions/SystemProcessLinux.h"
#include "core/text/VisibleText.h"
#include "system/ProtectedPrograms.h"
#include "system/linux/apps/CgroupScope.h"
#include "system/linux/apps/FlatpakSandbox.h"
#include "system/linux/apps/ScriptArgument.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <set>

namespace velmoran {

namespace {

constexpr int mostAncestors = 8;

std::string fileName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

bool isBelow(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() + 1 && path.starts_with(folder) &&
           path[folder.size()] == '/';
}

/// An app that is called as the unknown one has no id but its path.
std::optional<std::string> ownID(const std::string& id) {
    return id == AppIdentity::unknownID ? std::nullopt : std::optional(id);
}

bool startsIgnoringCase(const std::string& text, const std::string& start) {
    return text.size() >= start.size() &&
           std::equal(start.begin(), start.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
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
        return nameFile(bundleID);
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
        FileLooks looks(proc_);
        app = nameProcess(pid, looks);
    }
    if (!app || proc_.startTicks(pid) != start) {
        return unidentified(std::to_string(pid));
    }
    return remember(pid, *start, std::move(*app));
}

std::optional<AppRef> LinuxAppNames::look(pid_t pid) {
    {
        const std::lock_guard lock(mutex_);
        entries_.refresh();
    }
    FileLooks looks(proc_);
    return look(pid, looks);
}

std::optional<AppRef> LinuxAppNames::look(pid_t pid, FileLooks& looks) {
    const std::lock_guard lock(mutex_);
    auto app = nameProcess(pid, looks);
    return app ? app : rememberedProcess(pid);
}

std::optional<AppRef> LinuxAppNames::nameProcess(pid_t pid, FileLooks& looks) {
    if (auto app = nameFlatpak(pid)) {
        return app;
    }
    const auto executable = executableOf(pid, looks);
    if (!executable) {
        const auto thread = proc_.survivingThread(pid);
        return thread ? nameProcess(*thread, looks) : std::nullopt;
    }
    auto app = nameSnap(pid, *executable);
    return app ? app : nameExecutable(pid, *executable, looks);
}

std::optional<std::string> LinuxAppNames::executableOf(pid_t pid, FileLooks& looks) const {
    auto text = looks.executableLink(pid);
    if (text && text->front() == '/') {
        const auto its = fileNumber(proc_.path(pid, "exe"));
        if (its && its == looks.number(*text)) {
            return text;
        }
    }
    return proc_.executable(pid);
}

bool LinuxAppNames::isProtected(const std::string& path, FileLooks& looks) const {
    return looks.isProtected(path, [&] { return places_.protection.protects(path); });
}

AppTraces LinuxAppNames::tracesOf(const std::string& id) {
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    auto traces = AppTraces::of(id, entries_, places_);
    for (const auto& [pid, identified] : processes_) {
        if (identified.app.id() == id) {
            traces.processes.push_back(pid);
        }
    }
    return traces;
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
    std::set<std::string> all;
    for (const auto& found : entries_.all()) {
        const auto& schemes = found.entry.schemes;
        if (std::none_of(schemes.begin(), schemes.end(), [](const std::string& scheme) {
                return scheme == "http" || scheme == "https";
            })) {
            continue;
        }
        if (found.isProtected) {
            all.insert(found.entry.id);
        }
        // The same program may stand in further entries and be named by one of those.
        for (const auto* other : entries_.byProgram(found.program)) {
            all.insert(other->isTrusted ? ownID(other->entry.id).value_or(other->program)
                                        : other->program);
        }
        if (found.entry.flatpak) {
            for (const auto& flatpak : places_.flatpaks) {
                all.insert(flatpak.path + "/app/" + *found.entry.flatpak);
            }
        }
    }
    return {all.begin(), all.end()};
}

std::optional<std::string> LinuxAppNames::iconName(const AppRef& app) {
    const std::lock_guard lock(mutex_);
    entries_.refresh();
    if (app.bundleID) {
        const auto* found = entries_.byID(*app.bundleID);
        return found && found->isProtected ? found->entry.icon : std::nullopt;
    }
    if (!app.path) {
        return std::nullopt;
    }
    const bool isProtected = places_.protection.protects(*app.path);
    for (const auto* found : entries_.byProgram(*app.path)) {
        if (found->entry.icon && found->entry.name == app.name && isBelieved(*found, isProtected)) {
            return found->entry.icon;
        }
    }
    for (const auto& flatpak : places_.flatpaks) {
        if (isBelow(*app.path, flatpak.path + "/app")) {
            const auto* found = believedOfFlatpak(fileName(*app.path), isProtected);
            return found ? found->entry.icon : std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<AppRef> LinuxAppNames::nameFlatpak(pid_t pid) {
    const auto origin = flatpakOrigin(proc_, places_, pid);
    if (!origin) {
        return std::nullopt;
    }
    const bool isProtected = places_.protection.protects(origin->folder);
    const auto* found = believedOfFlatpak(origin->id, isProtected);
    return AppRef{.name = found ? found->entry.name : origin->id,
                  .bundleID = isProtected ? ownID(origin->id) : std::nullopt,
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
        const std::string snap = fileName(folder);
        const auto scope = parseCgroupScope(proc_.cgroupPaths(pid));
        const bool isOfSnap = scope && scope->kind == CgroupScope::Kind::snap && scope->id == snap;
        const auto* found = entries_.bySnap(snap, isOfSnap ? scope->app : std::string());
        return AppRef{.name = found ? found->entry.name : snap,
                      .bundleID = found ? ownID(found->entry.id) : std::nullopt,
                      .path = folder};
    }
    return std::nullopt;
}

AppRef LinuxAppNames::nameExecutable(pid_t pid, const std::string& executable, FileLooks& looks) {
    // The system's own are themselves, whatever started them.
    if (linuxSystemIdentifier(executable) && isProtected(executable, looks)) {
        const auto app = nameProgram(pid, executable, looks);
        return app ? *app : nameFile(executable);
    }
    if (isInterpreter(executable)) {
        if (auto script = nameScript(pid, executable, looks)) {
            return *script;
        }
        return nameFile(executable);
    }
    if (auto app = nameProgram(pid, executable, looks)) {
        return *app;
    }
    if (auto app = nameHelper(pid, executable, looks)) {
        return *app;
    }
    if (isProtected(executable, looks)) {
        if (const auto entries = entries_.byFolderOf(executable); !entries.empty()) {
            const auto& found = chosen(entries, pid);
            return named(found, found.program);
        }
    }
    return nameFile(executable);
}

std::optional<AppRef> LinuxAppNames::nameProgram(pid_t pid, const std::string& program,
                                                 FileLooks& looks) {
    const auto entries = entries_.byProgram(program);
    if (entries.empty()) {
        return std::nullopt;
    }
    const auto& found = chosen(entries, pid);
    return isBelieved(found, isProtected(program, looks)) ? named(found, program)
                                                          : nameFile(program);
}

bool LinuxAppNames::isBelieved(const DesktopEntries::Found& found, bool programIsProtected) const {
    // A program of root's is never renamed by an entry that isn't; nor does anything else take the
    // name of one that is.
    return found.isTrusted || (!programIsProtected && !entries_.isProtectedName(found.entry.name));
}

const DesktopEntries::Found* LinuxAppNames::believedOfFlatpak(const std::string& id,
                                                              bool folderIsProtected) const {
    const auto* found = entries_.byFlatpak(id);
    const bool isBelieved = found && found->isProtected == folderIsProtected &&
                            (folderIsProtected || !entries_.isProtectedName(found->entry.name));
    return isBelieved ? found : nullptr;
}

std::optional<AppRef> LinuxAppNames::nameScript(pid_t pid, const std::string& interpreter,
                                                FileLooks& looks) {
    const auto script = scriptPath(pid, interpreter, looks);
    if (!script) {
        // A helper of the program that its parent runs in the same interpreter.
        const auto parent = proc_.parent(pid).value_or(0);
        if (interpreter.find("/electron") != std::string::npos &&
            executableOf(parent, looks) == interpreter) {
            if (const auto its = scriptPath(parent, interpreter, looks)) {
                const auto app = nameProgram(parent, *its, looks);
                return app ? *app : nameFile(*its);
            }
        }
        return std::nullopt;
    }
    const auto app = nameProgram(pid, *script, looks);
    return app ? *app : nameFile(*script);
}

std::optional<std::string> LinuxAppNames::scriptPath(pid_t pid, const std::string& interpreter,
                                                     FileLooks& looks) const {
    auto script = scriptArgument(interpreter, looks.commandLine(pid));
    if (!script || script->empty() || script->find('\n') != std::string::npos) {
        return std::nullopt;
    }
    const bool isDrive = script->size() > 2 && (*script)[1] == ':';
    if (isDrive) {
        std::replace(script->begin(), script->end(), '\\', '/');
        const char drive =
            static_cast<char>(std::tolower(static_cast<unsigned char>(script->front())));
        auto prefix = proc_.environmentVariable(pid, "WINEPREFIX");
        if (!prefix || prefix->empty()) {
            prefix = proc_.environmentVariable(pid, "HOME").value_or("") + "/.wine";
        }
        // "Z:" is the whole file system by Wine's default.
        script = (drive == 'z' ? std::string() : *prefix + "/drive_" + drive) + script->substr(2);
    } else if (!script->starts_with('/')) {
        const auto folder = proc_.workingDirectory(pid);
        if (!folder) {
            return std::nullopt;
        }
        script = *folder + '/' + *script;
    }
    const auto& known = looks.script(interpreter, *script,
                                     [&] { return lookAtScript(interpreter, *script, looks); });
    // It must be the same file for the process as for this program.
    const bool isSame = known.real && fileNumber(proc_.rootOf(pid) + *script) == known.number;
    return isSame ? known.real : std::nullopt;
}

FileLooks::Script LinuxAppNames::lookAtScript(const std::string& interpreter,
                                              const std::string& script, FileLooks& looks) const {
    struct stat entry {};
    std::error_code error;
    const auto real = std::filesystem::canonical(script, error);
    if (error || ::stat(script.c_str(), &entry) != 0 ||
        !(S_ISREG(entry.st_mode) || S_ISDIR(entry.st_mode))) {
        return {};
    }
    // A command line is the process's own word: it can't make one of the system's own programs of
    // it, nor what root installed of an interpreter that somebody else did.
    const bool claimsTooMuch =
        linuxSystemIdentifier(real.string()).has_value() ||
        (hasProtectedName(real.string()) && readFileUpTo(real, 4) == "\177ELF") ||
        (isProtected(real, looks) && !isProtected(interpreter, looks));
    return {.number = FileNumber{.device = entry.st_dev, .inode = entry.st_ino},
            .real = claimsTooMuch ? std::nullopt : std::optional(real.string())};
}

std::optional<AppRef> LinuxAppNames::nameHelper(pid_t pid, const std::string& executable,
                                                FileLooks& looks) {
    const bool isGuarded = isProtected(executable, looks);
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
        const auto program = executableOf(ancestor, looks);
        if (!program) {
            break;
        }
        if (worksForParent) {
            // Started through sandboxes and proxies; the first that is neither is the app.
            if (isLauncher(*program) || worksForItsParent(*program)) {
                continue;
            }
            return nameExecutable(ancestor, *program, looks);
        }
        const auto folder = ownFolder(*program);
        if (!folder || !isBelow(executable, *folder) || isGuarded != isProtected(*program, looks)) {
            continue;
        }
        // A folder of the user's may hold anything; one named as its program is that program's.
        const auto folderName = fileName(*folder);
        if (!isGuarded && !startsIgnoringCase(folderName, fileName(*program)) &&
            !startsIgnoringCase(fileName(*program), folderName)) {
            continue;
        }
        if (auto app = nameProgram(ancestor, *program, looks)) {
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

AppRef LinuxAppNames::named(const DesktopEntries::Found& found, const std::string& path) const {
    return AppRef{.name = found.entry.name,
                  .bundleID = found.isTrusted ? ownID(found.entry.id) : std::nullopt,
                  .path = path};
}

AppRef LinuxAppNames::nameFile(const std::string& path) const {
    const auto name = fileName(path);
    // A file may be called by a blank; nobody goes without a name for that.
    return AppRef{.name = showsAnything(name) ? name : path, .bundleID = {}, .path = path};
}

AppRef LinuxAppNames::remember(pid_t pid, std::uint64_t start, AppRef app) {
    const auto [known, isNew] = seen_.insert_or_assign(app.id(), app);
    if (isNew) {
        seenOrder_.push_back(known->first);
        if (seenOrder_.size() > mostRemembered) {
            seen_.erase(seenOrder_.front());
            seenOrder_.pop_front();
        }
    }
    const std::lock_guard lock(mutex_);
    if (processes_.insert_or_assign(pid, Identified{.start = start, .app = app}).second) {
        processOrder_.push_back(pid);
        if (processOrder_.size() > mostRemembered) {
            processes_.erase(processOrder_.front());
            processOrder_.pop_front();
        }
    }
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
