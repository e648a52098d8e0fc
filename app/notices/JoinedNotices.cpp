#include "app/notices/JoinedNotices.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

namespace velmoran {

namespace {

/// By what a person tells apps apart; nothing for what is about no app.
std::optional<std::pair<bool, std::string>> keyOf(const NoticeItem& item) {
    if (!item.app) {
        return std::nullopt;
    }
    const bool unnamed = item.app->cannotBeNamed();
    return std::pair(unnamed, unnamed ? std::string() : item.app->id);
}

} // namespace

JoinedNotices::JoinedNotices(NoticeCenter& notices, std::function<void()> changed)
    : notices_(notices),
      changed_(std::move(changed)),
      changes_(notices.onChange.subscribe([this] { note(); })),
      ageing_(notices.onAged.subscribe([this] { note(); })) {}

std::vector<NoticeItem> JoinedNotices::items() const {
    std::vector<NoticeItem> result;
    std::map<std::pair<bool, std::string>, std::size_t> places;
    const auto& all = notices_.items();
    for (auto next = all.rbegin(); next != all.rend(); ++next) {
        const auto key = keyOf(*next);
        const auto known = key ? places.find(*key) : places.end();
        if (known != places.end()) {
            auto& newest = result[known->second];
            newest.older.push_back(next->id);
            newest.isStrong = newest.isStrong || next->isStrong;
            continue;
        }
        if (key) {
            places[*key] = result.size();
        }
        result.push_back(*next);
        if (const auto since = notices_.agedSince(next->id)) {
            result.back().timeText = words().shortTime(*since);
        }
    }
    for (auto& item : result) {
        if (!item.older.empty()) {
            item.timeText = words().text("%@ · %lld times",
                                         {item.timeText, std::to_string(item.older.size() + 1)});
        }
    }
    std::ranges::reverse(result);
    return result;
}

/// Newest first.
std::vector<Uuid> JoinedNotices::joinedWith(const Uuid& id) const {
    for (const auto& item : items()) {
        if (item.id == id || std::ranges::find(item.older, id) != item.older.end()) {
            std::vector<Uuid> cards = {item.id};
            cards.insert(cards.end(), item.older.begin(), item.older.end());
            return cards;
        }
    }
    return {};
}

bool JoinedNotices::press(const Uuid& id, const Uuid& button) {
    const auto cards = joinedWith(id);
    const auto item = notices_.item(id);
    if (cards.size() < 2 || !item) {
        return notices_.press(id, button);
    }
    const auto found = std::ranges::find(item->buttons, button, &NoticeButton::id);
    if (found == item->buttons.end()) {
        return false;
    }
    changeAtOnce([&] {
        if (found->actionTogether) {
            found->actionTogether(cards);
        } else {
            pressEach(cards, *found);
        }
    });
    return true;
}

/// A card that has no such button has been answered all the same.
void JoinedNotices::pressEach(const std::vector<Uuid>& cards, const NoticeButton& button) {
    for (const auto& card : cards) {
        const auto item = notices_.item(card);
        if (!item) {
            continue;
        }
        const auto same = std::ranges::find(item->buttons, button.title, &NoticeButton::title);
        if (same != item->buttons.end()) {
            notices_.press(card, same->id);
        } else {
            notices_.dismiss(card);
        }
    }
}

void JoinedNotices::close(const Uuid& id) {
    changeAtOnce([&] {
        for (const auto& card : joinedWith(id)) {
            notices_.close(card);
        }
    });
}

/// Each card that goes would have the others drawn anew.
void JoinedNotices::changeAtOnce(const std::function<void()>& change) {
    isChanging_ = true;
    change();
    isChanging_ = false;
    if (std::exchange(hasChanged_, false)) {
        changed_();
    }
}

void JoinedNotices::note() {
    if (isChanging_) {
        hasChanged_ = true;
    } else {
        changed_();
    }
}

} // namespace velmoran
