// Words a warning as a card. Pure but for the actions that it is given.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/stopping/StopResult.h"
#include "core/trust/TrustList.h"
#include "core/warnings/WarningNotice.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// What the buttons of a warning's card do.
struct NoticeActions {
    std::function<void()> stop;         ///< "Stop"
    std::function<void()> thisWasMe;    ///< "This was me"
    std::function<void()> trustThisApp; ///< "Trust this app"
    /// "Stop" on a card that stands for several, whose ids these are.
    std::function<void(const std::vector<Uuid>& cards)> stopTogether = {};
};

/// How long a card stays that isn't strong.
inline constexpr Seconds standardNoticeStay = 8.0;

/// `standardNoticesStay` is the user's setting that no card hides by itself.
NoticeItem noticeItem(const WarningNotice& notice, const TrustList& trust, bool standardNoticesStay,
                      NoticeActions actions);

/// What the buttons of a stop's card do.
struct StopResultActions {
    std::function<void()> details;  ///< "Details"
    std::function<void()> tryAgain; ///< "Try again"
};

/// The buttons are there only if an app refused to close or a device is still in use. `unmuting` is
/// what there is where the card stands.
NoticeItem stopResultItem(const StopResult& result, const Uuid& id, StopResultActions actions,
                          UnmutingBy unmuting = UnmutingBy::panel);

/// The speakers were muted since headphones came off. `player`: the app that is playing, if one is.
NoticeItem speakersMutedItem(const Uuid& id, const std::optional<std::string>& player,
                             std::function<void()> unmute);
/// They should have been, and it failed.
NoticeItem speakersNotMutedItem(const Uuid& id);

/// What the buttons of the card about a view that is taken away do.
struct SightTakenActions {
    std::function<void()> stop;      ///< "Stop"
    std::function<void()> thisWasMe; ///< "This was me"
};

/// Something keeps taking the view of the sound system away.
NoticeItem sightTakenItem(const Uuid& id, SightTakenActions actions);

/// The user unmutes, but what is muted was so before.
NoticeItem nothingUnmutedItem(const Uuid& id);

/// Somebody else keeps undoing the mute that stands.
NoticeItem keepsUnmutingItem(const Uuid& id, std::function<void()> unmute);

} // namespace velmoran
