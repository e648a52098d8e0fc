// Which of some device nodes are in use, and by whom. Having a node open isn't using it: programs
// open every camera for a moment to list it. An open that maps the node's memory is a use at once,
// any other when it has lasted for the grace; the sound server's, which serves others, never is.
// Owned by the reader of those devices; lives on the scheduler's thread.
#pragma once

#include "core/base/Scheduler.h"
#include "system/linux/NodeHolders.h"
#include "system/linux/NodeWatch.h"
#include "system/linux/ProcessNaming.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class HeldNodes {
public:
    /// How long an open without a mapping stays none of anybody's business.
    static constexpr Seconds grace = 1.0;

    struct Seams {
        Scheduler& scheduler;
        ProcessNaming& naming;
        /// True for the system's own programs that hold devices for others.
        std::function<bool(pid_t)> servesOthers;
        /// Called after a change of what `users` answers.
        std::function<void()> onChange;
    };

    HeldNodes(NodeHolders holders, Seams seams);

    /// From now on these are looked after. What was known of the others is forgotten; of the new
    /// ones it is looked up who has them open already; at the first call those are users at once.
    void setNodes(std::vector<DeviceNode> nodes);
    void take(const std::vector<NodeEvents>& events);
    /// Some were lost: it is looked up anew who has which node open.
    void takeLoss();

    /// AppRef ids of those who use a node, in order of opening, without duplicates. Empty if it is
    /// in use by somebody who can't be seen; nothing if it isn't in use.
    std::optional<std::vector<std::string>> users(const std::string& path) const;

private:
    struct Hold {
        NodeHolder holder;
        bool serves = false; ///< for others
        bool counts = false; ///< as a use
        std::string app;     ///< AppRef id
        Subscription grace;
    };
    struct Node {
        DeviceNode node;
        std::vector<Hold> holds; ///< in order of opening
        /// Opens that no process in sight explains, less such closes: somebody else has it.
        int hidden = 0;
        int opensAhead = 0; ///< seen already, and not told of yet
        int closesAhead = 0;
        bool hiddenCounts = false;
        Subscription hiddenGrace;
    };

    void look(const std::vector<NodeEvents>& events);
    void compare(Node& node, const std::vector<NodeHolder>& found, int opens, int closes);
    void lookAgain();
    void graceEnded(const std::string& path, pid_t pid);
    void hiddenGraceEnded(const std::string& path);
    bool allStillHeld() const;
    void settle();

    NodeHolders holders_;
    Seams seams_;
    std::vector<Node> nodes_;
    std::map<std::string, std::vector<std::string>> users_; ///< of the nodes in use
    bool started_ = false;
    std::size_t step_ = 0;
    Subscription nextLook_;
    Subscription heartbeat_;
};

} // namespace velmoran
