#include "system/linux/closing/AppTermination.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <utility>

namespace velmoran {

namespace {

/// Where the kernel doesn't say what was started: a scan alone can miss a process that takes
/// another's place at that moment.
constexpr int mostScans = 5;
constexpr int enoughQuietScans = 3;

/// With that many steps nothing is certain only on a machine that starts something every few
/// microseconds.
constexpr int mostSteps = 100;
/// More are found faster by looking through all.
constexpr pid_t mostStarted = 256;
/// An id is given out shortly before its process can be seen. So many that were given out before a
/// scan are looked at once more after it.
constexpr pid_t mostInTheMaking = 32;
constexpr std::size_t mostUnseen = 64;

constexpr int mostWaits = 10;
constexpr int mostWaitedFor = 4;
constexpr std::chrono::milliseconds patience{2};

std::size_t mostDescriptors() {
    rlimit limit{};
    return ::getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : 0;
}

/// The user who started it; nothing once it is gone.
std::optional<uid_t> userOf(pid_t pid, const ProcFs& proc) {
    struct stat folder {};
    if (::stat(proc.path(pid, "").c_str(), &folder) == 0 && folder.st_uid == getuid()) {
        return folder.st_uid;
    }
    return proc.uid(pid);
}

} // namespace

AppTermination::AppTermination(const ProcessFinder& processes, const NewestProcess& newest,
                               AppIdentity app)
    : processes_(processes),
      newest_(newest),
      app_(std::move(app)),
      users_{getuid()},
      mostHeldHere_(std::clamp<std::size_t>(mostDescriptors() / 2, 1, mostHeld)) {
    hasNobody_ = scan();
    if (held_.empty() && hasStrangers_) {
        allUsersCount_ = true;
        hasNobody_ = scan();
    }
}

std::vector<pid_t> AppTermination::pids() const {
    std::vector<pid_t> all;
    for (const auto& process : held_) {
        all.push_back(process.pid());
    }
    return all;
}

bool AppTermination::knownAreGone() const {
    return std::all_of(held_.begin(), held_.end(),
                       [](const HeldProcess& process) { return process.isGone(); });
}

bool AppTermination::isGone() {
    return knownAreGone() && scan();
}

void AppTermination::askToEnd() {
    tellKnown(Stage::asked);
}

void AppTermination::kill() {
    stage_ = Stage::forced;
    std::erase_if(held_, [](const HeldProcess& process) { return process.isGone(); });
    auto matcher = processes_.matcher(app_);
    holdAll(matcher);
    killKnown();
}

void AppTermination::killKnown() {
    tellKnown(Stage::forced);
}

void AppTermination::tellKnown(Stage stage) {
    stage_ = stage;
    dropOthers();
    for (const auto& process : held_) {
        send(process);
    }
}

void AppTermination::wakeStopped() {
    dropOthers();
    for (const auto& process : held_) {
        process.signal(SIGCONT);
    }
}

void AppTermination::send(const HeldProcess& process) const {
    if (stage_ == Stage::forced) {
        process.signal(SIGKILL);
    } else if (stage_ == Stage::asked) {
        process.signal(SIGTERM);
        // Always: it may be stopped at any moment, by its threads' states alone that can't be told,
        // and whoever runs takes no notice.
        process.signal(SIGCONT);
    }
}

/// A process may turn into another program at any time. It isn't of this app any more then.
void AppTermination::dropOthers() {
    auto matcher = processes_.matcher(app_);
    std::erase_if(held_, [&](const HeldProcess& process) {
        const bool isOther = matcher.isOfAnother(process.pid());
        // Still there, so it was the one that was named.
        return isOther && !process.isGone();
    });
}

bool AppTermination::scan() {
    std::erase_if(held_, [](const HeldProcess& process) { return process.isGone(); });
    hasMore_ = false;
    const auto before = newest_.id();
    auto matcher = processes_.matcher(app_);
    findUsers(matcher);
    if (!before) {
        return scanRepeatedly(matcher);
    }
    holdAll(matcher);
    return follow(*before, matcher);
}

void AppTermination::findUsers(ProcessMatcher& matcher) {
    for (const pid_t pid : matcher.identified()) {
        if (matcher.match(pid) != ProcessMatcher::Answer::ofApp) {
            continue;
        }
        if (const auto user = userOf(pid, processes_.proc())) {
            users_.insert(*user);
        }
    }
}

bool AppTermination::scanRepeatedly(ProcessMatcher& matcher) {
    int quietScans = 0;
    for (int round = 0; round < mostScans && knownAreGone(); ++round) {
        const auto known = held_.size();
        const bool hasLostOne = holdAll(matcher);
        quietScans = held_.size() == known && !hasLostOne && !hasMore_ ? quietScans + 1 : 0;
        if (quietScans == enoughQuietScans) {
            return true;
        }
    }
    return false;
}

/// `from` is the newest id from before all were looked through. True once nobody can be there.
bool AppTermination::follow(pid_t from, ProcessMatcher& matcher) {
    pid_t seen = std::max(from - mostInTheMaking, 0);
    std::vector<pid_t> unseen;
    int waits = 0;
    for (int step = 0; step < mostSteps && !hasMore_; ++step) {
        // Before all else: whoever starts another is there until that one can be seen, so one that
        // can't be seen yet has nobody to come from.
        if (!knownAreGone() && (++waits > mostWaits || !waitForKnown())) {
            return false;
        }
        const auto newest = newest_.id();
        if (!newest) {
            return false;
        }
        if (*newest < seen || *newest - seen > mostStarted + mostInTheMaking) {
            holdAll(matcher);
            unseen.clear();
            seen = std::max(*newest - mostInTheMaking, 0);
            continue;
        }
        std::vector<pid_t> ids;
        for (pid_t id = *newest; id > seen; --id) {
            ids.push_back(id);
        }
        // What couldn't be seen may still have been in the making.
        ids.insert(ids.end(), unseen.begin(), unseen.end());
        unseen.clear();
        bool isQuiet = true;
        for (const pid_t id : ids) {
            const auto sight = tryHold(id, matcher);
            isQuiet = isQuiet && sight != Sight::held;
            if (sight != Sight::held && sight != Sight::noMatter && unseen.size() < mostUnseen) {
                unseen.push_back(id);
            }
        }
        seen = *newest;
        if (isQuiet && !hasMore_ && newest_.id() == newest) {
            return true;
        }
    }
    return false;
}

/// True if one was seen that ended before it could be held.
bool AppTermination::holdAll(ProcessMatcher& matcher) {
    auto all = processes_.proc().pids();
    std::sort(all.begin(), all.end());
    spared_ = ownAncestors(processes_.proc());
    bool hasLostOne = false;
    for (const pid_t pid : all) {
        hasLostOne = tryHold(pid, matcher) == Sight::lost || hasLostOne;
    }
    return hasLostOne;
}

AppTermination::Sight AppTermination::tryHold(pid_t pid, ProcessMatcher& matcher) {
    const bool isHeld = std::any_of(held_.begin(), held_.end(), [&](const HeldProcess& process) {
        return process.pid() == pid && !process.isGone();
    });
    if (isHeld || std::find(spared_.begin(), spared_.end(), pid) != spared_.end()) {
        return Sight::noMatter;
    }
    const auto answer = matcher.match(pid);
    if (answer != ProcessMatcher::Answer::ofApp) {
        return answer == ProcessMatcher::Answer::nobody ? Sight::nobody : Sight::noMatter;
    }
    if (held_.size() >= mostHeldHere_) {
        hasMore_ = true;
        return Sight::noMatter;
    }
    // Held before it is named, and still there after: so it is the one that was named.
    auto process = HeldProcess::hold(pid);
    if (!process) {
        // It has ended, or is a thread of one that has an id of its own; else nothing can be held.
        hasMore_ = hasMore_ || !(errno == ESRCH || errno == EINVAL || errno == ENOENT);
        return Sight::lost;
    }
    if (matcher.match(pid) != ProcessMatcher::Answer::ofApp || process->isGone()) {
        return Sight::lost;
    }
    if (!counts(*process)) {
        hasStrangers_ = true;
        return Sight::noMatter;
    }
    send(*process);
    held_.push_back(std::move(*process));
    return Sight::held;
}

bool AppTermination::counts(const HeldProcess& process) {
    const auto user = userOf(process.pid(), processes_.proc());
    if (allUsersCount_ || !user || users_.contains(*user)) {
        return true;
    }
    // The user's own containers have users of their own, whom the user may signal; as root may
    // everybody.
    return getuid() != 0 && process.signal(0);
}

/// A few that were told to end at once are given the moment that it takes.
bool AppTermination::waitForKnown() const {
    const auto left = std::count_if(held_.begin(), held_.end(),
                                    [](const HeldProcess& process) { return !process.isGone(); });
    return stage_ == Stage::forced && left <= mostWaitedFor &&
           std::all_of(held_.begin(), held_.end(),
                       [](const HeldProcess& process) { return process.waitForEnd(patience); });
}

std::vector<pid_t> ownAncestors(const ProcFs& proc) {
    std::vector<pid_t> line{1};
    for (pid_t pid = getpid(); pid > 1; pid = proc.parent(pid).value_or(0)) {
        line.push_back(pid);
    }
    return line;
}

} // namespace velmoran
