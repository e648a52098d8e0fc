// What is on screen as cards, and the timers that take them away again. One per program, owned by
// the application model; main thread only.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/base/Observable.h"
#include "core/base/Scheduler.h"

#include <concepts>
#include <optional>
#include <unordered_map>
#include <vector>

namespace velmoran {

class NoticeCenter {
public:
    NoticeCenter(Scheduler& scheduler, const Clock& clock);
    /// Of a time that is both.
    template <class Time>
        requires std::derived_from<Time, Scheduler> && std::derived_from<Time, Clock>
    explicit NoticeCenter(Time& time) : NoticeCenter(time, time) {}

    /// Oldest first.
    const std::vector<NoticeItem>& items() const { return items_; }

    /// Appends the card, or replaces the one with this id where it stands. Its hiding time starts
    /// anew.
    void show(NoticeItem item);
    /// Takes the card away; an unknown id changes nothing and nobody hears of it.
    void dismiss(const Uuid& id);
    /// The user closes the card: takes it away, then runs its `onClose`.
    void close(const Uuid& id);
    /// The user clicks a button of a card. False if there is no such card or button.
    bool press(const Uuid& id, const Uuid& button);

    /// A copy, or nothing.
    std::optional<NoticeItem> item(const Uuid& id) const;
    /// True while a strong card is on screen.
    bool strongWarningWaiting() const;

    Event<const NoticeItem&> onShown;     ///< a card came or was replaced
    Event<const NoticeItem&> onDismissed; ///< a card went, by whatever road
    Event<> onChange;                     ///< after either
    /// A card has stood for so long that "Just now" is no longer true.
    Event<> onAged;
    /// When it happened what the card says, once that is so; nothing before.
    std::optional<Timestamp> agedSince(const Uuid& id) const;
    static constexpr Seconds ageing = 60.0;

private:
    struct Standing {
        Timestamp since;
        bool isAged = false;
        Subscription ageing = {};
    };

    void age(const Uuid& id);

    Scheduler& scheduler_;
    const Clock& clock_;
    std::vector<NoticeItem> items_;
    std::unordered_map<Uuid, Subscription> hideTasks_;
    std::unordered_map<Uuid, Standing> standing_;
};

} // namespace velmoran
