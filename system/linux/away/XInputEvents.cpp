#include "system/linux/away/XInputEvents.h"

#include <utility>

#include <sys/epoll.h>

namespace velmoran {

XInputEvents::XInputEvents(EventLoop& loop, std::unique_ptr<XInputConnection> connection,
                           Receiver receiver)
    : loop_(loop),
      connection_(std::move(connection)),
      receiver_(std::move(receiver)) {
    connection_->ask(asked_.set());
    readable_ = loop_.watch(connection_->descriptor(), EPOLLIN, [this](std::uint32_t) { drain(); });
}

void XInputEvents::drain() {
    while (const auto use = connection_->next()) {
        const auto which = static_cast<std::size_t>(*use);
        // One that was on its way when it was no longer asked for belongs to the rest.
        if (!asked_[which]) {
            continue;
        }
        receiver_.used(*use);
        // At once, so that a flood ends before it has been read.
        connection_->ask(asked_.reset(which));
        if (!resting_) {
            resting_ = loop_.after(rest, [this] { askAgain(); });
        }
    }
    if (connection_->isLost()) {
        resting_.reset();
        readable_.reset();
        receiver_.lost();
    }
}

void XInputEvents::askAgain() {
    resting_.reset();
    connection_->ask(asked_.set());
    // What was read while that was being written makes the descriptor readable no more.
    drain();
}

} // namespace velmoran
