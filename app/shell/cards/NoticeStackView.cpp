#include "app/shell/cards/NoticeStackView.h"

#include "app/shell/surface/X11Window.h"

#include <QAbstractButton>
#include <cstddef>
#include <map>

namespace velmoran {

NoticeStackView::NoticeStackView(const std::vector<NoticeItem>& items, const AppPicture& picture,
                                 const NoticeView::Clicks& clicks, int room, QWidget* parent)
    : QWidget(parent) {
    std::map<std::size_t, NoticeView*> chosen; // in the order of the items
    int used = 2 * padding - spacing;
    /// Whether there was room for all of them.
    const auto addFitting = [&](bool strong) {
        for (auto index = items.size(); index-- > 0;) {
            if (items[index].isStrong != strong || chosen.contains(index)) {
                continue;
            }
            auto* view = new NoticeView(items[index], picture, clicks, this);
            const int more = spacing + view->height();
            if (!chosen.empty() && used + more > room) {
                delete view;
                return false;
            }
            used += more;
            chosen.emplace(index, view);
        }
        return true;
    };
    if (!items.empty()) {
        auto* newest = new NoticeView(items.back(), picture, clicks, this);
        used += spacing + newest->height();
        chosen.emplace(items.size() - 1, newest);
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
