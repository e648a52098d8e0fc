#include "system/linux/LinuxRunningApps.h"

#include "system/linux/AppWindows.h"
#include "system/linux/HeldProcess.h"

#include <csignal>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace velmoran {

namespace {

/// How often the processes are looked through before an app is said to be gone: a look can miss one
/// that takes another's place at that moment.
constexpr int mostLooks = 5;
constexpr int enoughQuietLooks = 3;

/// The id that the kernel has given last, to a process or a thread.
std::string newestProcess() {
    const auto text = readFileUpTo("/proc/loadavg", 128).value_or("");
    return text.substr(text.rfind(' ') + 1);
}

/// All processes of one app, those that come while it is being closed among them.
class Crew {
public:
    Crew(const AppProcesses& processes, AppIdentity app)
        : processes_(processes),
          app_(std::move(app)) {
        hasNobody_ = takeInAll([](const HeldProcess&) {});
    }

    /// Nothing of the app ran when this was made.
    bool hasNobody() const { return hasNobody_; }
    std::vector<pid_t> pids() const {
        std::vector<pid_t> all;
        for (const auto& process : held_) {
            all.push_back(process.pid());
        }
        return all;
    }

    bool knownAreGone() const {
        return std::all_of(held_.begin(), held_.end(),
                           [](const HeldProcess& process) { return process.isGone(); });
    }

    /// Looks for others once all that are known have gone; they are sent what those were sent. Says
    /// no while there is doubt: it is asked again.
    bool isGone() {
        return takeInAll([this](const HeldProcess& process) {
            if (isForced_) {
                process.signal(SIGKILL);
            } else {
                ask(process);
            }
        });
    }

    void askToEnd() {
        dropOthers();
        for (const auto& process : held_) {
            ask(process);
        }
    }

    void kill() {
        isForced_ = true;
        takeIn();
        killKnown();
    }
    void killKnown() {
        dropOthers();
        for (const auto& process : held_) {
            process.signal(SIGKILL);
        }
    }

    /// A process that was stopped reads no request until it runs again.
    void wakeStopped() const {
        for (const auto& process : held_) {
            wakeIfStopped(process);
        }
    }

private:
    static void ask(const HeldProcess& process) {
        process.signal(SIGTERM);
        wakeIfStopped(process);
    }
    static void wakeIfStopped(const HeldProcess& process) {
        const auto stat = ProcFs().stat(process.pid());
        if (stat && stat->state == 'T') {
            process.signal(SIGCONT);
        }
    }

    /// A process may turn into another program at any time. It isn't of this app any more then.
    void dropOthers() {
        std::erase_if(held_, [&](const HeldProcess& process) {
            const bool isOther = processes_.isOfAnother(process.pid(), app_);
            // Still there, so it was the one that was named.
            return isOther && !process.isGone();
        });
    }

    /// True once it is certain that none is there. It ends as soon as one is known that is.
    bool takeInAll(const std::function<void(const HeldProcess&)>& take) {
        int quietLooks = 0;
        for (int look = 0; look < mostLooks && knownAreGone(); ++look) {
            const auto before = newestProcess();
            const auto known = held_.size();
            const bool hasLostOne = takeIn();
            std::for_each(held_.begin() + static_cast<std::ptrdiff_t>(known), held_.end(), take);
            quietLooks = held_.size() == known && !hasLostOne ? quietLooks + 1 : 0;
            // While none was started anywhere, none can have been missed.
            const bool isCertain = quietLooks > 0 && newestProcess() == before;
            if (isCertain || quietLooks == enoughQuietLooks) {
                return knownAreGone();
            }
        }
        return false;
    }

    /// True if one was seen that ended before it could be held.
    bool takeIn() {
        bool hasLostOne = false;
        const auto spared = ownLine(ProcFs());
        for (const pid_t pid : processes_.possible(app_)) {
            const bool isHeld =
                std::any_of(held_.begin(), held_.end(), [&](const HeldProcess& process) {
                    return process.pid() == pid && !process.isGone();
                });
            if (isHeld || std::find(spared.begin(), spared.end(), pid) != spared.end()) {
                continue;
            }
            // Held before it is named, and still there after: so it is the one that was named.
            auto process = HeldProcess::hold(pid);
            const bool isOfApp = process && processes_.isOf(pid, app_);
            if (isOfApp && !process->isGone()) {
                held_.push_back(std::move(*process));
            } else if (isOfApp || !process) {
                hasLostOne = true;
            }
        }
        return hasLostOne;
    }

    const AppProcesses& processes_;
    const AppIdentity app_;
    std::vector<HeldProcess> held_;
    bool hasNobody_ = false;
    bool isForced_ = false;
};

class Windowed final : public RunningApplication {
public:
    Windowed(std::shared_ptr<Crew> crew, std::unique_ptr<AppWindows> windows)
        : crew_(std::move(crew)),
          windows_(std::move(windows)) {}

    void terminate() override {
        crew_->wakeStopped();
        windows_->askToClose();
    }
    void forceTerminate() override { crew_->killKnown(); }
    bool isTerminated() override { return crew_->knownAreGone(); }

private:
    std::shared_ptr<Crew> crew_;
    std::unique_ptr<AppWindows> windows_;
};

class Processes final : public RunningProcess {
public:
    explicit Processes(std::shared_ptr<Crew> crew) : crew_(std::move(crew)) {}

    void askToEnd() override { crew_->askToEnd(); }
    void kill() override { crew_->kill(); }
    bool isGone() override { return crew_->isGone(); }

private:
    std::shared_ptr<Crew> crew_;
};

} // namespace

LinuxRunningApps::LinuxRunningApps(const AppProcesses& processes, std::string display)
    : processes_(processes),
      display_(std::move(display)) {}

RunningApp LinuxRunningApps::find(const AppIdentity& app) {
    const auto crew = std::make_shared<Crew>(processes_, app);
    RunningApp found;
    if (crew->hasNobody()) {
        return found;
    }
    if (auto windows = AppWindows::of(crew->pids(), display_)) {
        found.applications.push_back(std::make_unique<Windowed>(crew, std::move(windows)));
    }
    found.processes.push_back(std::make_unique<Processes>(crew));
    return found;
}

std::vector<pid_t> ownLine(const ProcFs& proc) {
    std::vector<pid_t> line{1};
    for (pid_t pid = getpid(); pid > 1; pid = proc.parent(pid).value_or(0)) {
        line.push_back(pid);
    }
    return line;
}

} // namespace velmoran
