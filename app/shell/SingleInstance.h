// Sees to it that the program runs once per user: the first start listens, a second one tells it to
// show itself. Stands on an abstract Unix socket, which the kernel takes away with its process, and
// so needs neither a bus nor a lock file (unix(7)). Any program of the user's can take that name:
// who listens is looked at, and nobody but Velmoran keeps Velmoran from running. Owned by `main`;
// main thread.
#pragma once

#include "system/PeerProgram.h"

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class SingleInstance {
public:
    enum class Role {
        first,  ///< nobody else runs; now others find us
        second, ///< another one runs and was told to show itself
        alone,  ///< nobody can be found or be found, as when others took every place
    };

    /// Whoever listened in our place and isn't a Velmoran that answers.
    struct Obstacle {
        PeerProgram program;
        bool isVelmoran = false; ///< one that is stopped or hangs
    };

    /// Waits for the answer of one that runs.
    explicit SingleInstance(
        const std::string& name,
        const std::function<bool(const PeerProgram&)>& isVelmoran = velmoran::isVelmoran);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    Role role() const { return role_; }
    const std::vector<Obstacle>& obstacles() const { return obstacles_; }
    /// Called when another start wants this one to show itself.
    void onShow(std::function<void()> show) { show_ = std::move(show); }

    /// Where the first place is taken the next one is tried, by every start alike.
    static constexpr int places = 8;
    /// How long the Velmorans in all places may take to answer: one may be about to start itself.
    static constexpr int patienceMilliseconds = 5000;

private:
    bool listen(const std::string& place);
    void accept();

    int socket_ = -1;
    Role role_ = Role::alone;
    std::vector<Obstacle> obstacles_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void()> show_;
};

} // namespace velmoran
