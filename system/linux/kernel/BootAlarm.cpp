#include "system/BootAlarm.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <sys/timerfd.h>
#include <system_error>
#include <unistd.h>

namespace velmoran {

namespace {
/// A century: what is later never comes, and the kernel's numbers hold it.
constexpr Seconds longest = 100.0 * 366 * 86400;
} // namespace

BootAlarm::BootAlarm() : descriptor_(::timerfd_create(CLOCK_BOOTTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (descriptor_ < 0) {
        throw std::system_error(errno, std::generic_category(), "timerfd_create");
    }
}

BootAlarm::~BootAlarm() {
    ::close(descriptor_);
}

Seconds BootAlarm::now() {
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

void BootAlarm::set(std::optional<Seconds> due) {
    itimerspec spec{};
    if (due) {
        const double time = std::clamp(*due, 0.0, longest);
        const double whole = std::floor(time);
        spec.it_value.tv_sec = static_cast<time_t>(whole);
        // Zero would silence it.
        spec.it_value.tv_nsec =
            std::clamp(static_cast<long>(std::ceil((time - whole) * 1e9)), 1L, 999'999'999L);
    }
    ::timerfd_settime(descriptor_, TFD_TIMER_ABSTIME, &spec, nullptr);
}

} // namespace velmoran
