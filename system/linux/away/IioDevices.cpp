#include "system/linux/away/IioDevices.h"

#include "system/linux/kernel/Descriptor.h"
#include "system/linux/kernel/Files.h"

#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace velmoran {

namespace {

/// The first line of one of these short files.
std::optional<std::string> lineOf(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 64> text{};
    const auto length = file.isOpen() ? ::read(file.get(), text.data(), text.size()) : -1;
    if (length < 0) {
        return std::nullopt;
    }
    const std::string_view all(text.data(), static_cast<std::size_t>(length));
    return std::string(all.substr(0, all.find('\n')));
}

std::optional<double> numberIn(const std::string& path) {
    const auto line = path.empty() ? std::nullopt : lineOf(path);
    if (!line) {
        return std::nullopt;
    }
    double number = 0;
    const auto [end, error] = std::from_chars(line->data(), line->data() + line->size(), number);
    return error == std::errc{} && end == line->data() + line->size() && std::isfinite(number)
               ? std::optional(number)
               : std::nullopt;
}

bool isThere(const std::string& path) {
    return ::access(path.c_str(), F_OK) == 0;
}

std::vector<std::string> sensorsIn(const std::string& folder) {
    std::vector<std::string> all;
    for (const auto& name : sortedNamesIn(folder)) {
        if (name.starts_with("iio:device")) {
            all.push_back(folder + '/' + name + '/');
        }
    }
    return all;
}

} // namespace

std::optional<HingeFiles> findHinge(const std::string& folder) {
    for (const auto& sensor : sensorsIn(folder)) {
        const auto name = lineOf(sensor + "name");
        const bool isHinge = name == "hinge";
        if (!isHinge && name != "cros-ec-lid-angle") {
            continue;
        }
        // A hinge sensor tells of screen and keyboard against the ground too.
        std::string channel = "in_angl";
        for (const auto* numbered : {"in_angl0", "in_angl1", "in_angl2"}) {
            if (isHinge && lineOf(sensor + numbered + "_label") == "hinge") {
                channel = numbered;
            }
        }
        if (!isThere(sensor + channel + "_raw")) {
            channel = "in_angl0";
        }
        HingeFiles files{.raw = sensor + channel + "_raw", .offset = {}, .scale = {}};
        if (!isThere(files.raw)) {
            continue;
        }
        for (const auto& one : {channel, std::string("in_angl")}) {
            if (files.offset.empty() && isThere(sensor + one + "_offset")) {
                files.offset = sensor + one + "_offset";
            }
            if (files.scale.empty() && isThere(sensor + one + "_scale")) {
                files.scale = sensor + one + "_scale";
            }
        }
        return files;
    }
    return std::nullopt;
}

std::optional<int> hingeDegrees(const HingeFiles& files) {
    const auto raw = numberIn(files.raw);
    if (!raw) {
        return std::nullopt;
    }
    const auto scale = numberIn(files.scale);
    const double steps = *raw + numberIn(files.offset).value_or(0);
    const double degrees = std::round(scale ? steps * *scale * 180 / std::numbers::pi : steps);
    return degrees >= 0 && degrees <= 360 ? std::optional(static_cast<int>(degrees)) : std::nullopt;
}

std::vector<std::string> findAccelerometers(const std::string& folder) {
    std::vector<std::string> all;
    for (const auto& sensor : sensorsIn(folder)) {
        auto axis = sensor + "in_accel_x_raw";
        if (isThere(axis)) {
            all.push_back(std::move(axis));
        }
    }
    return all;
}

} // namespace velmoran
