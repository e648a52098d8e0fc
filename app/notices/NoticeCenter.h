// What is on screen as cards, and the timers that take them away again. One per program, owned by
// the application model; main thread only.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/base/Observable.h"
#include "core/base/Scheduler.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace velmoran {

class NoticeCenter {
public:
    explicit NoticeCenter(Scheduler& scheduler);

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

private:
    Scheduler& scheduler_;
    std::vector<NoticeItem> items_;
    std::unordered_map<Uuid, Subscription> hideTasks_;
};

} // namespace velmoran
