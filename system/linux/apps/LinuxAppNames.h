// Which app a process is, told so that nobody can pass for another: by what the kernel says of the
// file that it runs, never by its own words. Owned by the machine. All calls on the monitor's
// thread, but for `iconName`, `browsers`, `resolve` and `criteriaOf`, which any thread may make.
//
// An app's id is borrowed as easily as whoever grants it is fooled, so an id of a desktop entry is
// given only where root stands behind both the entry and the program, a flatpak's only to a process
// that runs files of its installation, a snap's by the snap's own folder. Everything else is known
// by the path of its file. Entries that the user's programs could have written give a name and a
// picture to programs in the user's folders, unless it looks like the name of one of root's
// (ShownNames).
//
// What remains: an interpreter's command line is the process's own word. A process that rewrites it
// can pass for another script of the same interpreter; never for one of the system's own programs,
// nor for one of root's if the interpreter isn't.
#pragma once

#include "system/Machine.h"
#include "system/linux/apps/DesktopEntries.h"
#include "system/linux/apps/LinuxPlaces.h"
#include "system/linux/apps/MatchCriteria.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/apps/ScanCache.h"
#include "system/linux/apps/ShownNames.h"
#include "system/linux/kernel/ProcFs.h"

#include <deque>
#include <mutex>
#include <string>
#include <unordered_map>

namespace velmoran {

class LinuxAppNames final : public AppNames, public ProcessNaming {
public:
    explicit LinuxAppNames(LinuxPlaces places);

    /// What was pinned under the process's object, or else who the process is now.
    AppRef ofProcess(const AudioProcess& process) override;
    /// The app that was seen under that id, or the installed one of that id, or the id as a name.
    AppRef ofBundleID(const std::string& bundleID) override;

    AppRef identify(pid_t pid) override;
    AppRef unidentified(const std::string& key) override;
    void pin(std::uint32_t objectID, AppRef app) override;
    void unpin(std::uint32_t objectID) override;

    /// Who the process is now, without remembering the answer: for whoever looks through many.
    /// One that has hidden itself since it was identified is still who it was then; for the naming
    /// of a use that wouldn't do, but to hide is no way to escape a stop. Nothing for one that
    /// can't be named. The caller sees to it that the process id isn't another's meanwhile.
    std::optional<AppRef> resolve(pid_t pid);
    /// For a round through many; this outlives it.
    ScanCache newCache() const { return {proc_, places_.protection}; }
    /// The same with what is known of files already, and with the entries as `criteriaOf` has read
    /// them.
    std::optional<AppRef> resolve(pid_t pid, ScanCache& cache);
    /// What each process of the app of that id shows at least.
    MatchCriteria criteriaOf(const std::string& id);

    /// The ids of the apps that are registered for web links now: those of entries that can give
    /// one, and the paths by which the other apps are known.
    std::vector<std::string> browsers();

    /// The app's picture: a name of the icon theme or an absolute path. Only of the entry that the
    /// app has its name from.
    std::optional<std::string> iconName(const AppRef& app);

    /// How many ids, and as many processes, are remembered at most; the oldest go.
    static constexpr std::size_t mostRemembered = 2000;

private:
    std::optional<AppRef> nameProcess(pid_t pid, ScanCache& cache);
    std::optional<AppRef> nameFlatpak(pid_t pid);
    std::optional<AppRef> nameSnap(pid_t pid, const std::string& executable);
    /// By the script that an interpreter runs, by the interpreter itself without one.
    AppRef nameScript(pid_t pid, const std::string& interpreter, ScanCache& cache);
    std::optional<AppRef> nameHelper(pid_t pid, const std::string& executable, ScanCache& cache);
    /// By an entry that starts exactly that file; nothing without one.
    std::optional<AppRef> nameProgram(pid_t pid, const std::string& program, ScanCache& cache);
    AppRef nameExecutable(pid_t pid, const std::string& executable, ScanCache& cache);
    /// One in mounts of its own, by its file as it is seen from here.
    std::optional<AppRef> nameSandboxed(pid_t pid, ScanCache& cache);
    /// By the image in which the file lies; nothing for a file elsewhere.
    std::optional<AppRef> nameImage(pid_t pid, const std::string& file, ScanCache& cache);
    /// By the file, or root's link to it that the word means.
    AppRef nameFile(pid_t pid, const std::string& file, const std::string& word, ScanCache& cache);
    AppRef named(const ProgramFile& file) const;
    AppRef named(const DesktopEntries::Found& found, const ProgramFile& file) const;
    const DesktopEntries::Found& chosen(const std::vector<const DesktopEntries::Found*>& entries,
                                        pid_t pid) const;
    AppRef remember(pid_t pid, std::uint64_t start, AppRef app);
    std::optional<AppRef> rememberedProcess(pid_t pid) const;

    struct Identified {
        std::uint64_t start = 0;
        AppRef app;
    };

    const LinuxPlaces places_;
    const ProcFs proc_;
    std::mutex mutex_; ///< around the entries and the processes
    DesktopEntries entries_;
    ShownNames shown_{places_, entries_};
    std::unordered_map<pid_t, Identified> processes_;
    std::deque<pid_t> processOrder_;
    std::unordered_map<std::uint32_t, AppRef> pinned_;
    std::unordered_map<std::string, AppRef> seen_;
    std::deque<std::string> seenOrder_;
};

} // namespace velmoran
