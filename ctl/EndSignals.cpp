#include "ctl/EndSignals.h"

#include <QObject>
#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {
constexpr std::array<int, 3> endings = {SIGINT, SIGTERM, SIGHUP};
/// Where the handler writes; a signal handler has no other way to its object.
volatile std::sig_atomic_t target = -1;

void tell(int) {
    const int kept = errno;
    const char byte = 0;
    // A full pipe means that it was told already.
    [[maybe_unused]] const auto ignored = ::write(target, &byte, 1);
    errno = kept;
}
} // namespace

struct EndSignals::Pipe {
    std::array<int, 2> ends{-1, -1};
    std::unique_ptr<QSocketNotifier> notifier;
    std::array<struct sigaction, endings.size()> before{};
};

EndSignals::EndSignals(std::function<void()> onEnd) : pipe_(std::make_unique<Pipe>()) {
    if (::pipe(pipe_->ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "no pipe");
    }
    for (const int end : pipe_->ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
        ::fcntl(end, F_SETFL, O_NONBLOCK);
    }
    const int reading = pipe_->ends[0];
    pipe_->notifier = std::make_unique<QSocketNotifier>(reading, QSocketNotifier::Read);
    QObject::connect(pipe_->notifier.get(), &QSocketNotifier::activated,
                     [reading, onEnd = std::move(onEnd)] {
                         std::array<char, 64> bytes{};
                         while (::read(reading, bytes.data(), bytes.size()) > 0) {
                         }
                         onEnd();
                     });
    target = pipe_->ends[1];
    struct sigaction action {};
    action.sa_handler = tell;
    action.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < endings.size(); ++i) {
        ::sigaction(endings[i], &action, &pipe_->before[i]);
    }
}

EndSignals::~EndSignals() {
    for (std::size_t i = 0; i < endings.size(); ++i) {
        ::sigaction(endings[i], &pipe_->before[i], nullptr);
    }
    target = -1;
    pipe_->notifier.reset();
    for (const int end : pipe_->ends) {
        ::close(end);
    }
}

} // namespace velmoran
