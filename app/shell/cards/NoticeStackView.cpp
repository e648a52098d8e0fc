#include "app/shell/cards/NoticeStackView.h"

#include "app/shell/surface/X11Window.h"

#include <QAbstractButton>
#include <algorithm>
#include <cstddef>
#include <map>

namespace velmoran {

NoticeStackView::NoticeStackView(const std::vector<NoticeItem>& items, const AppPicture& picture,
                                 const NoticeView::Clicks& clicks, int room, QWidget* parent)
    : QWidget(parent) {
    std::map<std::size_t, NoticeView*> chosen; // in the order of the items
    int used = 2 * padding - spacing;
    /// Whether there was room, as there always is for the first.
    const auto add = [&](std::size_t index) {
        auto* view = new NoticeView(items[index], picture, clicks, this);
        const int more = spacing + view->height();
        if (!chosen.empty() && used + more > room) {
            delete view;
            return false;
        }
        used += more;
        chosen.emplace(index, view);
        return true;
    };
    /// The newest first; whether there was room for all of them.
    const auto addFitting = [&](bool strong) {
        for (auto index = items.size(); index-- > 0;) {
            if (items[index].isStrong == strong && !chosen.contains(index) && !add(index)) {
                return false;
            }
        }
        return true;
    };
    if (!items.empty()) {
        add(items.size() - 1);
    }
    // What came of the last stop is waited for, whatever else there is.
    const auto result =
        std::ranges::find(items.rbegin(), items.rend(), true, &NoticeItem::isStopResult);
    if (result != items.rend() && result != items.rbegin()) {
        add(static_cast<std::size_t>(items.rend() - result) - 1);
    }
    // A lesser card doesn't take the room of a strong one, even where only the lesser one fits.
    if (addFitting(true)) {
        addFitting(false);
    }

    int y = padding;
    QWidget* last = this;
    for (const auto& [index, view] : chosen) {
        view->move(padding, y);
        view->raise(); // the order in which they are read aloud, and walked
        for (auto* button : view->findChildren<QAbstractButton*>()) {
            setTabOrder(last, button);
            last = button;
        }
        y += view->height() + spacing;
        views_.push_back(view);
    }
    setFixedSize(stackWidth, y - (views_.empty() ? 0 : spacing) + padding);
}

void NoticeStackView::setCornersAreCut(bool cut) {
    for (auto* view : views_) {
        view->setCornersAreCut(cut);
    }
}

QRegion NoticeStackView::shape() const {
    QRegion shape;
    for (const auto* view : views_) {
        shape += roundedRegion(view->geometry(), NoticeView::cornerRadius);
    }
    return shape;
}

} // namespace velmoran
