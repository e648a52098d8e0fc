#include "app/notices/NoticeWording.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

NoticeButton button(std::string title, bool prominent, std::function<void()> action) {
    return {.id = Uuid::random(),
            .title = std::move(title),
            .prominent = prominent,
            .action = std::move(action)};
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
    item.isStrong = strong;
    item.title = notice.title();
    item.message = notice.message();
    item.timeText =
        notice.duringAwayWatch ? words().shortTime(notice.start) : words().text("Just now");
    item.buttons.push_back(button(words().text("Stop"), strong, std::move(actions.stop)));
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

} // namespace velmoran
