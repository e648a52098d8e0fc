#include "app/notices/NoticeWording.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

NoticeButton button(std::string title, bool prominent, std::function<void()> action) {
    return {.title = std::move(title), .prominent = prominent, .action = std::move(action)};
}

NoticeItem symbolItem(const Uuid& id, std::string symbol, std::string title) {
    NoticeItem item;
    item.id = id;
    item.symbol = std::move(symbol);
    item.title = std::move(title);
    item.timeText = words().text("Just now");
    return item;
}

bool anyUntrusted(const WarningNotice& notice, const TrustList& trust) {
    return std::any_of(notice.devices.begin(), notice.devices.end(),
                       [&](Device device) { return !trust.isTrusted(notice.app, device); });
}

} // namespace

NoticeItem noticeItem(const WarningNotice& notice, const TrustList& trust, bool standardNoticesStay,
                      NoticeActions actions) {
    const bool strong = notice.level == WarningLevel::strong;
    NoticeItem item;
    item.id = notice.id;
    item.appPath = notice.app.path;
    item.app = notice.app;
    item.isStrong = strong;
    item.title = notice.title();
    item.message = notice.message();
    item.timeText =
        notice.duringAwayWatch ? words().shortTime(notice.start) : words().text("Just now");
    item.since = notice.start;
    item.buttons.push_back(button(words().text("Stop"), strong, std::move(actions.stop)));
    item.buttons.back().actionTogether = std::move(actions.stopTogether);
    if (strong) {
        item.buttons.push_back(
            button(words().text("This was me"), false, std::move(actions.thisWasMe)));
    } else if (anyUntrusted(notice, trust)) {
        item.buttons.push_back(
            button(words().text("Trust this app"), false, std::move(actions.trustThisApp)));
    }
    if (!strong && !standardNoticesStay) {
        item.autoHideAfter = standardNoticeStay;
    }
    return item;
}

NoticeItem stopResultItem(const StopResult& result, const Uuid& id, StopResultActions actions,
                          UnmutingBy unmuting) {
    const bool all = result.everythingStopped();
    auto item =
        symbolItem(id, all ? "checkmark.circle" : "exclamationmark.circle", result.headline());
    item.message = result.detail(unmuting);
    if (!result.notClosed.empty() || !result.stillInUse.empty()) {
        item.buttons.push_back(button(words().text("Details"), false, std::move(actions.details)));
        item.buttons.push_back(
            button(words().text("Try again"), false, std::move(actions.tryAgain)));
    }
    item.isStopResult = true;
    if (all) {
        item.autoHideAfter = standardNoticeStay;
    }
    return item;
}

NoticeItem speakersMutedItem(const Uuid& id, const std::optional<std::string>& player,
                             std::function<void()> unmute) {
    auto item = symbolItem(id, "speaker.slash",
                           words().text("Headphones disconnected, so the speakers were muted"));
    if (player) {
        item.message = words().text("%@ would have played out loud.", {*player});
    }
    item.buttons.push_back(button(words().text("Unmute speakers"), false, std::move(unmute)));
    return item;
}

NoticeItem speakersNotMutedItem(const Uuid& id) {
    auto item = symbolItem(id, "speaker.wave.2", words().text("Headphones disconnected"));
    item.message =
        words().text("Sound now comes out of the speakers. Velmoran couldn't mute them.");
    return item;
}

NoticeItem sightTakenItem(const Uuid& id, SightTakenActions actions) {
    auto item = symbolItem(id, "microphone",
                           words().text("Something is hiding the microphone from Velmoran"));
    item.isStrong = true;
    item.message = words().text("A program on this computer keeps taking Velmoran's view of the "
                                "sound system away. It may be listening.");
    item.buttons.push_back(button(words().text("Stop"), true, std::move(actions.stop)));
    item.buttons.push_back(
        button(words().text("This was me"), false, std::move(actions.thisWasMe)));
    return item;
}

NoticeItem nothingUnmutedItem(const Uuid& id) {
    auto item = symbolItem(id, "microphone", words().text("Nothing was unmuted"));
    item.message = words().text("The microphone was muted already before the stop, and stays so.");
    item.autoHideAfter = standardNoticeStay;
    return item;
}

NoticeItem keepsUnmutingItem(const Uuid& id, std::function<void()> unmute) {
    auto item =
        symbolItem(id, "microphone", words().text("Another program keeps unmuting the microphone"));
    item.buttons.push_back(button(words().text("Unmute"), false, std::move(unmute)));
    return item;
}

} // namespace velmoran
