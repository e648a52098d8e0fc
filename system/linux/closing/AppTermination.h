// Ends one app: all its processes, those that come meanwhile among them, held by the kernel's
// descriptors. Owned by what runs of the app, for as long as it is being closed; one thread.
//
// That nobody is left is said only when it is certain, as far as the kernel lets one know: after
// all processes were looked through, those that were started meanwhile are looked at by their ids,
// until nothing was started any more. A program whose processes take each other's place has to
// start the next one, and is caught at that.
//
// Whose processes count: those of this program's own user; and of another user who has a process
// that was named as the app when it used something. If there is neither, those of all users: then
// one of them must be what the user wants to see closed.
#pragma once

#include "system/linux/apps/ProcessFinder.h"
#include "system/linux/kernel/HeldProcess.h"
#include "system/linux/kernel/NewestProcess.h"

#include <set>
#include <vector>

namespace velmoran {

class AppTermination {
public:
    /// So many are held at once, or half of what this program may open if that is less; the others'
    /// turn comes once these are gone.
    static constexpr std::size_t mostHeld = 400;

    /// Both outlive it.
    AppTermination(const ProcessFinder& processes, const NewestProcess& newest, AppIdentity app);

    /// Nothing of the app ran when this was made.
    bool hasNobody() const { return hasNobody_; }
    std::vector<pid_t> pids() const;

    bool knownAreGone() const;
    /// Looks for others once all that are known have gone; they are sent what those were sent. Says
    /// no while there is doubt: it is asked again.
    bool isGone();

    void askToEnd();
    void kill();
    void killKnown();
    /// A process that was stopped reads no request until it runs again.
    void wakeStopped();

private:
    enum class Stage { found, asked, forced };
    enum class Sight {
        nobody,   ///< nothing to be seen under that id
        lost,     ///< it was of the app, and ended or changed before it was held
        noMatter, ///< another app's, held already, or to be spared
        held
    };

    void findUsers(ProcessMatcher& matcher);
    bool scan();
    bool scanRepeatedly(ProcessMatcher& matcher);
    bool follow(pid_t from, ProcessMatcher& matcher);
    bool holdAll(ProcessMatcher& matcher);
    Sight tryHold(pid_t pid, ProcessMatcher& matcher);
    bool counts(const HeldProcess& process);
    void dropOthers();
    void tellKnown(Stage stage);
    void send(const HeldProcess& process) const;
    bool waitForKnown() const;

    const ProcessFinder& processes_;
    const NewestProcess& newest_;
    const AppIdentity app_;
    std::vector<HeldProcess> held_;
    std::set<uid_t> users_;
    std::vector<pid_t> spared_;
    Stage stage_ = Stage::found;
    const std::size_t mostHeldHere_;
    bool allUsersCount_ = false;
    bool hasStrangers_ = false; ///< of users who don't count
    bool hasMore_ = false;      ///< than could be held
    bool hasNobody_ = false;
};

/// This process, the one that started it, and so on up to process 1.
std::vector<pid_t> ownAncestors(const ProcFs& proc);

} // namespace velmoran
