#include "system/linux/apps/ScriptFile.h"

#include "core/sessions/SystemProcessLinux.h"
#include "system/linux/apps/ScriptArgument.h"
#include "system/linux/kernel/Files.h"

#include <algorithm>
#include <filesystem>

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
    // it.
    const bool isLoader = isDynamicLoader(interpreter);
    const bool claimsTooMuch =
        linuxSystemIdentifier(real.string()).has_value() ||
        (!isLoader && readFileUpTo(real, 4) == "\177ELF") ||
        ((isLoader || !cache.isProtected(interpreter)) && cache.isProtected(real));
    return {.number = number, .real = claimsTooMuch ? std::nullopt : std::optional(real.string())};
}

} // namespace

std::optional<std::string> scriptFile(pid_t pid, const std::string& interpreter, const ProcFs& proc,
                                      ScanCache& cache) {
    const auto argument = scriptArgument(interpreter, cache.commandLine(pid));
    if (!argument || argument->empty() || argument->find('\n') != std::string::npos) {
        return std::nullopt;
    }
    const auto script = pathOf(*argument, pid, proc);
    if (!script) {
        return std::nullopt;
    }
    const auto& known =
        cache.script(interpreter, *script, [&] { return inspect(interpreter, *script, cache); });
    // It must be the same file for the process as for this program.
    const bool isSame = known.real && fileNumber(proc.rootOf(pid) + *script) == known.number;
    return isSame ? known.real : std::nullopt;
}

} // namespace velmoran
