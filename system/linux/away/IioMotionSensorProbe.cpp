#include "system/linux/away/IioMotionSensorProbe.h"

#include "system/linux/away/IioDevices.h"
#include "system/linux/kernel/Descriptor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace velmoran {

namespace {

void passTime(Seconds seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

} // namespace

IioMotionSensorProbe::IioMotionSensorProbe(std::string folder, std::function<void(Seconds)> wait)
    : folder_(std::move(folder)),
      wait_(wait ? std::move(wait) : passTime) {}

MotionSensorProbe::Result IioMotionSensorProbe::run(Seconds seconds) {
    Result result;
    std::vector<Descriptor> open;
    for (const auto& path : findAccelerometers(folder_)) {
        ++result.devicesFound;
        Descriptor axis(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (axis.isOpen()) {
            open.push_back(std::move(axis));
        } else if (result.openStatus == 0) {
            result.openStatus = errno;
        }
    }
    const auto turns = static_cast<int>(std::floor(seconds / interval + 1e-9));
    for (int turn = 0; turn < turns; ++turn) {
        wait_(interval);
        for (const auto& axis : open) {
            // From its beginning, the file gives a new reading each time.
            std::array<char, 32> reading{};
            result.reportsReceived +=
                ::pread(axis.get(), reading.data(), reading.size(), 0) > 0 ? 1 : 0;
        }
    }
    if (const auto left = seconds - turns * interval; left > 1e-9) {
        wait_(left);
    }
    return result;
}

} // namespace velmoran
