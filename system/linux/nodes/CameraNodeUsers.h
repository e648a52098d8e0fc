// Which of the cameras' device nodes are in use, and by whom. Having a node open isn't using it:
// programs open every camera for a moment to list it. An open that maps the node's memory is a use
// at once, any other when it has lasted for the grace; the sound server's, which serves others,
// never is. Who lets nobody look at him is counted by what the kernel tells of opens and closes and
// no process in sight explains. Owned by the reader of those devices; lives on the scheduler's
// thread.
#pragma once

#include "core/base/Scheduler.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/kernel/NodeWatch.h"
#include "system/linux/nodes/NodeHolders.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class CameraNodeUsers {
public:
    /// How long an open without a mapping stays none of anybody's business.
    static constexpr Seconds grace = 1.0;
    /// How long after a scan an event is waited for that tells what the scan has seen.
    static constexpr Seconds delay = 0.1;

    /// Of one node.
    struct Users {
        std::vector<AttributedApp> apps; ///< in order of opening, without duplicates
        bool someoneUnseen = false;      ///< somebody uses it, too, who can't be looked at

        bool operator==(const Users&) const = default;
    };

    struct Seams {
        Scheduler& scheduler;
        ProcessNaming& naming;
        /// True for the system's own programs that hold devices for others.
        std::function<bool(pid_t)> servesOthers;
        /// Called after a change of what `users` answers.
        std::function<void()> onChange;
    };

    CameraNodeUsers(NodeHolders holders, Seams seams);

    /// From now on these are looked after. What was known of the others is forgotten; of the new
    /// ones it is looked up who has them open already; at the first call those are users at once.
    void setNodes(std::vector<DeviceNode> nodes);
    void handleEvents(const std::vector<NodeEvents>& events);
    /// Some were lost: it is looked up anew who has which node open. Who was known to be there out
    /// of sight stays until a close that nobody else explains: his may be among the lost ones, but
    /// to lose events is no way to get out of a use.
    void handleLostEvents();

    /// Nothing if the node isn't in use.
    std::optional<Users> users(const std::string& path) const;

private:
    struct Hold {
        NodeHolder holder;
        bool serves = false; ///< for others
        bool counts = false; ///< as a use
        bool hides = false;  ///< it could be looked at when it opened the node; not any more
        AttributedApp app;
        Subscription grace;
    };
    struct Node {
        DeviceNode node;
        std::vector<Hold> holds; ///< in order of opening
        /// Opens that no process in sight explains, less such closes: somebody else has it.
        int hidden = 0;
        int opensAhead = 0; ///< seen already, and not told of yet
        int closesAhead = 0;
        Subscription aheadDelay;
        bool hiddenCounts = false;
        Subscription hiddenGrace;
    };
    /// What was told of a node, and whether that is all.
    struct Reported {
        int opens = 0;
        int closes = 0;
        bool someLost = false;
    };

    void rescan(const std::vector<NodeEvents>& events, bool someLost = false);
    void compare(Node& node, const std::vector<NodeHolder>& found, const Reported& reported);
    /// Opens in sight that were there at one scan and not at the other.
    struct Change {
        int came = 0;
        int gone = 0;
    };
    /// Brings the holds up to date.
    Change updateHolds(Node& node, const std::vector<NodeHolder>& found);
    void addHold(Node& node, const NodeHolder& holder);
    void countHidden(Node& node, Reported reported, Change change);
    void countCloses(Node& node, int closes);
    void boundAhead(Node& node);
    void delayEnded(const std::string& path);
    bool isHeld(const Hold& hold, const DeviceNode& node) const;
    void recheck();
    void graceEnded(const std::string& path, pid_t pid);
    void hiddenGraceEnded(const std::string& path);
    bool allStillHeld() const;
    void publish();

    NodeHolders holders_;
    Seams seams_;
    std::vector<Node> nodes_;
    std::map<std::string, Users> users_; ///< of the nodes in use
    bool started_ = false;
    std::size_t step_ = 0;
    Subscription nextCheck_;
    Subscription heartbeat_;
};

} // namespace velmoran
