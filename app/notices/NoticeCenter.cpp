#include "app/notices/NoticeCenter.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {
auto withID(const Uuid& id) {
    return [id](const auto& each) {
        return each.id == id;
    };
}
} // namespace

NoticeCenter::NoticeCenter(Scheduler& scheduler) : scheduler_(scheduler) {}

void NoticeCenter::show(NoticeItem item) {
    const Uuid id = item.id;
    const auto hideAfter = item.autoHideAfter;
    const auto place = std::find_if(items_.begin(), items_.end(), withID(id));
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
    changed();
}

void NoticeCenter::dismiss(const Uuid& id) {
    // The task may be the caller, so it has to live until we are done.
    const auto task = hideTasks_.extract(id);
    const auto gone = item(id);
    if (gone && std::erase_if(items_, withID(id)) > 0) {
        onDismissed(*gone);
        changed();
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
    const auto card = std::find_if(items_.begin(), items_.end(), withID(id));
    if (card == items_.end()) {
        return false;
    }
    const auto found = std::find_if(card->buttons.begin(), card->buttons.end(), withID(button));
    if (found == card->buttons.end()) {
        return false;
    }
    // A copy, since the action takes its own card away.
    if (const auto action = found->action) {
        action();
    }
    return true;
}

std::optional<NoticeItem> NoticeCenter::item(const Uuid& id) const {
    const auto found = std::find_if(items_.begin(), items_.end(), withID(id));
    return found == items_.end() ? std::nullopt : std::optional(*found);
}

bool NoticeCenter::strongWarningWaiting() const {
    return std::any_of(items_.begin(), items_.end(),
                       [](const NoticeItem& item) { return item.isStrong; });
}

void NoticeCenter::changed() {
    if (onChange) {
        onChange();
    }
    if (onItemsChanged) {
        onItemsChanged();
    }
}

} // namespace velmoran
