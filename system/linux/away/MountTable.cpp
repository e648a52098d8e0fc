#include "system/linux/away/MountTable.h"

#include "system/linux/kernel/Descriptor.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/epoll.h>

namespace velmoran {

KernelMountTable::KernelMountTable(std::string path) : path_(std::move(path)) {}

std::string KernelMountTable::text() {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
}

Subscription KernelMountTable::onChange(EventLoop& loop, std::function<void()> changed) {
    const auto table = std::make_shared<Descriptor>(::open(path_.c_str(), O_RDONLY | O_CLOEXEC));
    if (!table->isOpen()) {
        return {};
    }
    // proc(5): a change shows as an exceptional condition, once. Nothing has to be read.
    auto watch = std::make_shared<Subscription>(
        loop.watch(table->get(), EPOLLPRI, [changed](std::uint32_t) { changed(); }));
    return Subscription([table, watch] { watch->reset(); });
}

} // namespace velmoran
