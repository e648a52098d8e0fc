#include "system/linux/kernel/ProcessEnds.h"

#include "system/linux/kernel/Descriptor.h"

#include <cerrno>
#include <memory>
#include <utility>

#include <sys/epoll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velmoran {

std::vector<pid_t> ProcessEnds::waitFor(const std::set<pid_t>& processes) {
    std::erase_if(watches_, [&](const auto& each) { return !processes.contains(each.first); });
    std::vector<pid_t> gone;
    for (const auto pid : processes) {
        if (watches_.contains(pid)) {
            continue;
        }
        const auto held =
            std::make_shared<Descriptor>(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
        if (held->isOpen()) {
            auto watch = std::make_shared<Subscription>(
                loop_.watch(held->get(), EPOLLIN, [this, pid](std::uint32_t) { ended_(pid); }));
            watches_.emplace(pid, Subscription([watch, held] { watch->reset(); }));
        } else if (errno == ESRCH) {
            gone.push_back(pid);
        }
    }
    return gone;
}

} // namespace velmoran
