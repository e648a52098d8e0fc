#include "app/shell/NoticeStackView.h"

#include "app/shell/X11Window.h"

namespace velmoran {

NoticeStackView::NoticeStackView(const std::vector<NoticeItem>& items, const AppPicture& picture,
                                 const NoticeView::Clicks& clicks, QWidget* parent)
    : QWidget(parent) {
    int y = padding;
    for (const auto& item : items) {
        auto* view = new NoticeView(item, picture, clicks, this);
        view->move(padding, y);
        y += view->height() + spacing;
        views_.push_back(view);
    }
    setFixedSize(stackWidth, y - (items.empty() ? 0 : spacing) + padding);
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

void NoticeStackView::announceNewest() {
    if (!views_.empty()) {
        views_.back()->announce();
    }
}

} // namespace velmoran
