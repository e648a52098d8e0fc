#include "system/linux/apps/ScriptFile.h"

#include "core/sessions/SystemProcessLinux.h"
#include "system/TextParsing.h"
#include "system/linux/apps/OutsidePath.h"
#include "system/linux/apps/ScriptArgument.h"
#include "system/linux/kernel/Files.h"
#include "system/linux/kernel/ProcMaps.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include <glib.h>

namespace velmoran {

namespace {

/// The absolute path that an argument means for the process.
std::optional<std::string> pathOf(std::string argument, pid_t pid, const ProcFs& proc) {
    if (isWindowsPath(argument)) {
        std::replace(argument.begin(), argument.end(), '\\', '/');
        const char drive = g_ascii_tolower(argument.front());
        auto prefix = proc.environmentVariable(pid, "WINEPREFIX").value_or("");
        if (prefix.empty()) {
            prefix = proc.environmentVariable(pid, "HOME").value_or("") + "/.wine";
        }
        // "Z:" is the whole file system by Wine's default.
        return (drive == 'z' ? std::string() : prefix + "/drive_" + drive) + argument.substr(2);
    }
    if (argument.starts_with('/')) {
        return argument;
    }
    const auto folder = proc.workingDirectory(pid);
    return folder ? std::optional(*folder + '/' + argument) : std::nullopt;
}

ScanCache::Script inspect(const std::string& interpreter, const std::string& script,
                          ScanCache& cache) {
    std::error_code error;
    const auto real = std::filesystem::canonical(script, error);
    const auto number = fileNumber(script);
    if (error || !number ||
        !(std::filesystem::is_regular_file(real, error) ||
          std::filesystem::is_directory(real, error))) {
        return {};
    }
    // A command line is the process's own word: it can't make one of the system's own programs of
    // it, nor a program that needs no interpreter, nor what root installed of an interpreter that
    // somebody else did. The loader runs such programs, but who starts one of root's just starts
    // it; of its word for any other the kernel is asked.
    const bool isLoader = isDynamicLoader(interpreter);
    const bool claimsTooMuch =
        linuxSystemIdentifier(real.string()).has_value() ||
        (!isLoader && readFileUpTo(real, 4) == "\177ELF") ||
        ((isLoader || !cache.isProtected(interpreter)) && cache.isProtected(real));
    return {.number = number, .real = claimsTooMuch ? std::nullopt : std::optional(real.string())};
}

/// Code that the kernel brings itself. No process can give its memory such a name.
bool isKernels(const ProcMapping& mapping) {
    return mapping.inode == 0 && isListed(mapping.path, "[vdso] [vsyscall] [vectors] [sigpage]");
}

/// Whether a process runs that program, by the kernel's word: of all the code in its memory that
/// isn't root's. One with another's code beside it, or with code of no file, may be the other.
bool runsNothingElse(pid_t pid, const std::string& program, const ProcFs& proc, ScanCache& cache) {
    const auto mappings = executableMappings(pid, proc);
    if (!mappings || !proc.sharesMounts(pid)) {
        return false;
    }
    std::set<std::string> paths;
    for (const auto& mapping : *mappings) {
        if (isKernels(mapping)) {
            continue;
        }
        const bool isRoots = mapping.path.starts_with('/') && cache.isProtected(mapping.path);
        if (mapping.path != program && !isRoots) {
            return false;
        }
        paths.insert(mapping.path);
    }
    // In a file system of his own anybody may have files under any path.
    const auto known = asMapped(paths);
    bool runsIt = false;
    for (const auto& mapping : *mappings) {
        if (isKernels(mapping)) {
            continue;
        }
        const auto found = known.find(mapping.path);
        if (found == known.end() || found->second.device != mapping.device ||
            found->second.inode != mapping.inode) {
            return false;
        }
        runsIt = runsIt || mapping.path == program;
    }
    return runsIt;
}

} // namespace

std::optional<std::string> scriptFile(pid_t pid, const std::string& interpreter, const ProcFs& proc,
                                      ScanCache& cache) {
    const bool isLoader = isDynamicLoader(interpreter);
    if (isLoader && !cache.isProtected(interpreter)) {
        return std::nullopt; // a program of the user's that is only called so
    }
    const auto argument = scriptArgument(interpreter, cache.commandLine(pid));
    if (!argument || argument->empty() || argument->find('\n') != std::string::npos) {
        return std::nullopt;
    }
    const auto script = pathOf(*argument, pid, proc);
    if (!script) {
        return std::nullopt;
    }
    // It must be the same file for the process as for this program.
    const auto asSeen = [&](const std::string& path) {
        const auto& known =
            cache.script(interpreter, path, [&] { return inspect(interpreter, path, cache); });
        const bool isSame = known.real && fileNumber(proc.rootOf(pid) + *script) == known.number;
        return isSame ? known.real : std::nullopt;
    };
    auto file = asSeen(*script);
    if (!file && !proc.sharesMounts(pid)) {
        const auto outside = outsidePath(proc, pid, *script, proc.rootOf(pid) + *script);
        file = outside ? asSeen(*outside) : std::nullopt;
    }
    if (file && isLoader && !runsNothingElse(pid, *file, proc, cache)) {
        return std::nullopt;
    }
    return file;
}

} // namespace velmoran
