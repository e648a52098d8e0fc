#include "core/away/AwayEvent.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <system_error>
#include <vector>

namespace velmoran {

namespace {

std::optional<long long> wholeNumber(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) {
        text.remove_prefix(1);
    }
    long long number = 0;
    const auto* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

/// What of a text stands between blanks and is a whole number.
std::vector<long long> wholeNumbers(std::string_view text) {
    std::vector<long long> numbers;
    while (!text.empty()) {
        const auto blank = std::min(text.find(' '), text.size());
        if (const auto number = wholeNumber(text.substr(0, blank))) {
            numbers.push_back(*number);
        }
        text.remove_prefix(std::min(blank + 1, text.size()));
    }
    return numbers;
}

} // namespace

std::string AwayEvent::title() const {
    switch (kind) {
    case AwayEventKind::keyboardUsed:
        return words().text("Keyboard used");
    case AwayEventKind::mouseUsed:
        return words().text("Mouse or trackpad used");
    case AwayEventKind::lidOpened:
        return words().text("Lid opened");
    case AwayEventKind::lidClosed:
        return words().text("Lid closed");
    case AwayEventKind::lidMoved:
        if (const auto angles = wholeNumbers(detail.value_or("")); angles.size() == 2) {
            return words().text("Lid moved from %lld° to %lld°",
                                {std::to_string(angles[0]), std::to_string(angles[1])});
        }
        return words().text("Lid moved");
    case AwayEventKind::powerConnected:
        return words().text("Power cable connected");
    case AwayEventKind::powerRemoved:
        return words().text("Power cable removed");
    case AwayEventKind::devicePluggedIn:
        return detail ? words().text("Device plugged in: %@", {*detail})
                      : words().text("Device plugged in");
    case AwayEventKind::wentToSleep:
        return words().text("Mac went to sleep");
    case AwayEventKind::wokeUp:
        return words().text("Mac woke up");
    case AwayEventKind::cameraUsed:
        return detail ? words().text("%@ turned on the camera", {*detail})
                      : words().text("An app turned on the camera");
    case AwayEventKind::microphoneUsed:
        return detail ? words().text("%@ turned on the microphone", {*detail})
                      : words().text("An app turned on the microphone");
    }
    return {};
}

std::string lidMovedDetail(int from, int to) {
    return fmt::format("{} {}", from, to);
}

} // namespace velmoran
