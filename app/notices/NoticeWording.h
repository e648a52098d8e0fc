// Words a warning as a card. Pure but for the actions that it is given.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/trust/TrustList.h"
#include "core/warnings/WarningNotice.h"

#include <functional>

namespace velmoran {

/// What the buttons of a warning's card do.
struct NoticeActions {
    std::function<void()> stop;         ///< "Stop"
    std::function<void()> thisWasMe;    ///< "This was me"
    std::function<void()> trustThisApp; ///< "Trust this app"
};

/// How long a card stays that isn't strong.
inline constexpr Seconds standardNoticeStay = 8.0;

/// `standardNoticesStay` is the user's setting that no card hides by itself.
NoticeItem noticeItem(const WarningNotice& notice, const TrustList& trust, bool standardNoticesStay,
                      NoticeActions actions);

} // namespace velmoran
