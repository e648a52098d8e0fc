#include "app/shell/SignalWatch.h"

#include <csignal>
#include <utility>

#include <sys/signalfd.h>
#include <unistd.h>

namespace velmoran {

SignalWatch::SignalWatch(std::function<void()> ended) : ended_(std::move(ended)) {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

SignalWatch::~SignalWatch() {
    notifier_.reset();
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

void SignalWatch::start() {
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
        signalfd_siginfo info{};
        while (::read(descriptor_, &info, sizeof info) > 0) {
        }
        ended_();
    });
}

} // namespace velmoran
