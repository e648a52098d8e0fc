#include "app/notices/NoticeCenter.h"

#include <algorithm>
#include <utility>

namespace velmoran {

NoticeCenter::NoticeCenter(Scheduler& scheduler, const Clock& clock)
    : scheduler_(scheduler),
      clock_(clock) {}

void NoticeCenter::show(NoticeItem item) {
    const Uuid id = item.id;
    const auto hideAfter = item.autoHideAfter;
    // A card that is replaced still tells what happened then.
    const auto [standing, isNew] =
        standing_.try_emplace(id, Standing{.since = item.since.value_or(clock_.now())});
    if (isNew) {
        standing->second.ageing = scheduler_.afterAwakeOrAsleep(ageing, [this, id] { age(id); });
    }
    const auto place = std::ranges::find(items_, id, &NoticeItem::id);
    if (place != items_.end()) {
        *place = std::move(item);
    } else {
        items_.push_back(std::move(item));
    }
    hideTasks_.erase(id);
    if (hideAfter) {
        hideTasks_[id] = scheduler_.afterAwakeOrAsleep(*hideAfter, [this, id] { dismiss(id); });
    }
    if (const auto shown = this->item(id)) {
        onShown(*shown);
    }
    onChange();
}

void NoticeCenter::age(const Uuid& id) {
    if (const auto found = standing_.find(id); found != standing_.end()) {
        found->second.isAged = true;
        onAged();
    }
}

std::optional<Timestamp> NoticeCenter::agedSince(const Uuid& id) const {
    const auto found = standing_.find(id);
    return found != standing_.end() && found->second.isAged ? std::optional(found->second.since)
                                                            : std::nullopt;
}

void NoticeCenter::dismiss(const Uuid& id) {
    // The task may be the caller, so it has to live until we are done.
    const auto task = hideTasks_.extract(id);
    standing_.erase(id);
    if (const auto gone = item(id)) {
        std::erase_if(items_, [&](const NoticeItem& each) { return each.id == gone->id; });
        onDismissed(*gone);
        onChange();
    }
}

void NoticeCenter::close(const Uuid& id) {
    const auto closed = item(id);
    dismiss(id);
    if (closed && closed->onClose) {
        closed->onClose();
    }
}

bool NoticeCenter::press(const Uuid& id, const Uuid& button) {
    // A copy, since the action takes its own card away.
    const auto card = item(id).value_or(NoticeItem());
    const auto found = std::ranges::find(card.buttons, button, &NoticeButton::id);
    if (found == card.buttons.end()) {
        return false;
    }
    if (found->action) {
        found->action();
    }
    return true;
}

std::optional<NoticeItem> NoticeCenter::item(const Uuid& id) const {
    const auto found = std::ranges::find(items_, id, &NoticeItem::id);
    return found == items_.end() ? std::nullopt : std::optional(*found);
}

bool NoticeCenter::strongWarningWaiting() const {
    return std::ranges::any_of(items_, &NoticeItem::isStrong);
}

} // namespace velmoran
