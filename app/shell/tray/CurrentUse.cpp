#include "app/shell/tray/CurrentUse.h"

#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"
#include "core/warnings/HistoryWording.h"
#include "core/warnings/UnwatchedWording.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

std::string title(const SystemSnapshot& snapshot) {
    if (snapshot.cameraOn && snapshot.microphoneOn) {
        return words().text("Camera and microphone are in use");
    }
    if (snapshot.cameraOn) {
        return words().text("The camera is in use");
    }
    return snapshot.microphoneOn ? words().text("The microphone is in use")
                                 : UnwatchedWording::nothingOn(snapshot.unwatched);
}

/// In one line, since each use has one and a name comes from whoever uses the device.
std::string inOneLine(std::string name) {
    std::replace_if(
        name.begin(), name.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return name;
}

} // namespace

NoticeItem currentUseItem(const CurrentUse& use, Timestamp now, std::function<void()> unmute) {
    NoticeItem item;
    item.id = Uuid::random();
    item.symbol = use.snapshot.cameraOn ? "camera" : "microphone";
    item.title = title(use.snapshot);
    std::string lines;
    const auto add = [&lines](const std::string& line) {
        lines += (lines.empty() ? "" : "\n") + line;
    };
    for (const auto& session : use.open) {
        if (session.device != Device::speaker) {
            add(words().text("%1$@ uses %2$@ (%3$@)",
                             {inOneLine(session.app.name), DeviceWording::the({session.device}),
                              DurationFormat::text(session.duration(now))}));
        }
    }
    for (const auto& reason : UnwatchedWording::reasons(use.snapshot.unwatched)) {
        add(reason);
    }
    if (use.microphoneMuted) {
        add(words().text("The microphone has been muted since a stop."));
        item.buttons.push_back(
            {.title = words().text("Unmute microphone"), .action = std::move(unmute)});
    }
    if (use.historyProblem) {
        add(inOneLine(HistoryWording::sentence(*use.historyProblem)));
    }
    if (!lines.empty()) {
        item.message = lines;
    }
    item.timeText = words().shortTime(now);
    item.autoHideAfter = 8.0;
    return item;
}

} // namespace velmoran
