#include "app/contents/ConnectionsContent.h"

#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"

#include <algorithm>

namespace velmoran {

namespace {

/// The speaker only where there is nothing else to name.
std::string devicesOf(const ActivityRow& row) {
    auto devices = row.devices;
    std::erase(devices, Device::speaker);
    return DeviceWording::the(devices.empty() ? row.devices : devices);
}

std::string mediumOf(const ActivityRow& row) {
    const auto has = [&](Device device) {
        return std::ranges::find(row.devices, device) != row.devices.end();
    };
    if (!has(Device::camera)) {
        return words().text("audio");
    }
    return has(Device::microphone) ? words().text("audio or video") : words().text("video");
}

} // namespace

ConnectionsContent ConnectionsContent::of(const ActivityRow& row) {
    ConnectionsContent content;
    if (row.app().cannotBeNamed()) {
        content.text =
            words().text("We couldn't tell which app it is, so its connections aren't known.");
        return content;
    }
    for (const auto& record : row.connections()) {
        content.peers.push_back({
            .address = record.address,
            .port = words().text("port %@ %@", {std::to_string(record.port), record.transport}),
            .firstSeen = record.firstSeen ? words().shortTime(*record.firstSeen) : std::string(),
        });
    }
    if (content.peers.empty()) {
        content.text = words().text(
            "Velmoran didn't see any connections for this app while it used %@.", {devicesOf(row)});
        return content;
    }
    content.text = words().text(
        "Where the app was connected while it used %1$@, and when Velmoran first saw each address. "
        "This doesn't mean your %2$@ went there. If this Mac uses a VPN or proxy, these may be its "
        "addresses.",
        {devicesOf(row), mediumOf(row)});
    return content;
}

std::string ConnectionsContent::heading() {
    return words().text("This app is connected to");
}

} // namespace velmoran
