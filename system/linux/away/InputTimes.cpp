#include "system/linux/away/InputTimes.h"

namespace velmoran {

namespace {

InputUse useBehind(InputEvent event) {
    switch (event) {
    case InputEvent::keyDown:
        return InputUse::key;
    case InputEvent::mouseMoved:
        return InputUse::motion;
    default:
        return InputUse::press;
    }
}

} // namespace

std::optional<Seconds> InputTimes::sinceLast(InputEvent event, Timestamp now) const {
    const double last = last_[static_cast<std::size_t>(useBehind(event))];
    return last == never ? std::nullopt : std::optional<Seconds>(now.seconds - last);
}

void InputTimes::forget() {
    for (auto& last : last_) {
        last = never;
    }
}

} // namespace velmoran
