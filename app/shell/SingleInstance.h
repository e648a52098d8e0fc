// Sees to it that the program runs once per user: the first start listens, a second one tells it to
// show itself. Stands on an abstract Unix socket, which the kernel takes away with its process, and
// so needs neither a bus nor a lock file (unix(7)). Owned by `main`; main thread.
#pragma once

#include <QSocketNotifier>
#include <functional>
#include <memory>
#include <string>

namespace velmoran {

class SingleInstance {
public:
    enum class Role {
        first,  ///< nobody else runs; now others find us
        second, ///< another one runs and was told to show itself
        alone,  ///< nobody can be found or be found, as when another user took the name
    };

    explicit SingleInstance(const std::string& name);
    ~SingleInstance();
    SingleInstance(const SingleInstance&) = delete;
    SingleInstance& operator=(const SingleInstance&) = delete;

    Role role() const { return role_; }
    /// Called when another start wants this one to show itself.
    void onShow(std::function<void()> show) { show_ = std::move(show); }

private:
    void accept();

    int socket_ = -1;
    Role role_ = Role::alone;
    std::unique_ptr<QSocketNotifier> notifier_;
    std::function<void()> show_;
};

} // namespace velmoran
