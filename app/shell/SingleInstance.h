// Sees to it that the program runs once per user: the first start listens, a second one tells it
// what to show. Stands on an abstract Unix socket, which the kernel takes away with its process,
// and so needs neither a bus nor a lock file (unix(7)). Any program of the user's can take that
// name: who listens is looked at, and nobody but Velmoran keeps Velmoran from running. Owned by
// `main`; main thread.
#pragma once

#include "system/PeerProgram.h"

#include <QSocketNotifier>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class SingleInstance {
public:
    enum class Role {
        first,  ///< nobody else runs; now others find us
        second, ///< another one runs and was told what to show
        alone,  ///< nobody can be found or be found, as when others took every place
    };

    /// Whoever listened in our place and isn't a Velmoran that answers.
    struct Obstacle {
        PeerProgram program;
        bool isVelmoran = false; ///< one that is stopped or hangs
    };

    /// Waits for the answer of one that runs. `wish` is what that one is told to show: a line of at
    /// most `longestWish` characters.
    explicit SingleInstance(
        const std::string& name, const std::string& wish = {},
        const std::function<bool(const PeerProgram&)>& isVelmoran = velmoran::isVelmoran);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    Role role() const { return role_; }
    const std::vector<Obstacle>& obstacles() const { return obstacles_; }
    /// Called with its wish when another start wants this one to show itself. Any program of the
    /// user's can bring any text.
    void onShow(std::function<void(const std::string& wish)> show) { show_ = std::move(show); }

    static constexpr std::size_t longestWish = 256;
    /// So many starts may be about to say what they wish.
    static constexpr std::size_t mostWishing = 8;

    /// Where the first place is taken the next one is tried, by every start alike.
    static constexpr int places = 8;
    /// How long the Velmorans in all places may take to answer: one may be about to start itself.
    static constexpr int patienceMilliseconds = 5000;

private:
    class Wishing;

    bool listen(const std::string& place);
    void accept();
    void heard(const Wishing* from);

    int socket_ = -1;
    Role role_ = Role::alone;
    std::vector<Obstacle> obstacles_;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void(const std::string&)> show_;
    std::vector<std::unique_ptr<Wishing>> wishing_; ///< the oldest first
};

} // namespace velmoran
