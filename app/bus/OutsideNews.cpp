#include "app/bus/OutsideNews.h"

#include "app/bus/BusNames.h"

#include <cstring>
#include <string>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* newsDriver = "org.freedesktop.DBus";
constexpr const char* newsDriverPath = "/org/freedesktop/DBus";
constexpr const char* newsMember = "ChangedFromOutside";
/// Longer than any that is meant.
constexpr std::size_t longestNews = 65536;

} // namespace

OutsideNews::OutsideNews(IsVelmoran isVelmoran, std::function<void(const OutsideChange&)> heard)
    : isVelmoran_(std::move(isVelmoran)),
      heard_(std::move(heard)) {}

void OutsideNews::listen(sd_bus* bus) {
    if (!isVelmoran_) {
        return;
    }
    bus_ = bus;
    const auto rule =
        std::string("type='signal',interface='") + bus::interface + "',member='" + newsMember + "'";
    // What comes of it is known by what is heard.
    sd_bus_call_method_async(
        bus, nullptr, newsDriver, newsDriverPath, newsDriver, "AddMatch",
        [](sd_bus_message*, void*, sd_bus_error*) { return 1; }, nullptr, "s", rule.c_str());
}

void OutsideNews::forget() {
    waiting_.clear();
    bus_ = nullptr;
}

bool OutsideNews::take(sd_bus_message* message) {
    if (!bus_ || sd_bus_message_is_signal(message, bus::interface, newsMember) <= 0) {
        return false;
    }
    const char* own = nullptr;
    const auto* sender = sd_bus_message_get_sender(message);
    const char* text = nullptr;
    while (!waiting_.empty() && waiting_.front().isOver) {
        waiting_.pop_front();
    }
    if (!sender || sd_bus_get_unique_name(bus_, &own) < 0 || std::strcmp(own, sender) == 0 ||
        waiting_.size() >= most || sd_bus_message_read(message, "s", &text) <= 0 ||
        ::strnlen(text, longestNews + 1) > longestNews) {
        return true;
    }
    try {
        waiting_.push_back({*this, decode<OutsideChange>(text), nullptr});
    } catch (const DecodingError&) {
        return true;
    }
    sd_bus_slot* slot = nullptr;
    if (sd_bus_call_method_async(bus_, &slot, newsDriver, newsDriverPath, newsDriver,
                                 "GetConnectionUnixProcessID", &OutsideNews::answered,
                                 &waiting_.back(), "s", sender) < 0) {
        waiting_.pop_back();
    } else {
        waiting_.back().slot.reset(slot);
    }
    return true;
}

int OutsideNews::answered(sd_bus_message* reply, void* waiting, sd_bus_error*) {
    auto& self = *static_cast<Waiting*>(waiting);
    self.isOver = true;
    std::uint32_t pid = 0;
    if (sd_bus_message_is_method_error(reply, nullptr) == 0 &&
        sd_bus_message_read(reply, "u", &pid) > 0 &&
        self.news.isVelmoran_(static_cast<std::int32_t>(pid))) {
        self.news.heard_(self.change);
    }
    return 1;
}

BusMessage OutsideNews::signalOf(sd_bus* bus, const OutsideChange& change) {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_signal(bus, &made, bus::path, bus::interface, newsMember) < 0) {
        return nullptr;
    }
    BusMessage signal(made);
    sd_bus_message_append(made, "s", encode(change).c_str());
    return signal;
}

} // namespace velmoran
