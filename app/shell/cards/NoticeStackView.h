// The cards one below the other, oldest first. Made anew for each change of the cards, owned by the
// panel; main thread.
#pragma once

#include "app/shell/cards/NoticeView.h"

#include <QRegion>
#include <vector>

namespace velmoran {

class NoticeStackView final : public QWidget {
public:
    /// Has its final size at once. What would make it higher than `room` is left out: the oldest
    /// first, and strong ones only when there is no other; the last stop's result only if the
    /// newest card leaves it no room, and never the newest.
    NoticeStackView(const std::vector<NoticeItem>& items, const AppPicture& picture,
                    const NoticeView::Clicks& clicks, int room, QWidget* parent = nullptr);

    static constexpr int padding = 12;
    static constexpr int spacing = 8;
    static constexpr int stackWidth = NoticeView::cardWidth + 2 * padding;

    int cards() const { return static_cast<int>(views_.size()); }
    void setCornersAreCut(bool cut);
    /// What of the rectangle the cards cover.
    QRegion shape() const;
    /// Null if there is none.
    NoticeView* newest() const { return views_.empty() ? nullptr : views_.back(); }

private:
    std::vector<NoticeView*> views_;
};

} // namespace velmoran
