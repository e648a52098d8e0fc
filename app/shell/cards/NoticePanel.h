// The window with the cards. Owned by its controller; main thread. Made once, before the first
// card, since making a window takes longer than showing one.
#pragma once

#include "app/shell/cards/NoticeStackView.h"
#include "app/shell/surface/OverlayPanel.h"

#include <vector>

namespace velmoran {

class NoticePanel final : public OverlayPanel {
public:
    NoticePanel();

    /// Replaces the content by cards for these, as many as there is room for. Whether and where it
    /// is shown is left alone until `showAt`.
    void setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                  const NoticeView::Clicks& clicks, int room);
    /// What the cards take.
    QSize wantedSize() const { return stack_ ? stack_->size() : QSize(); }
    /// Shows itself in that size, with the upper left corner there, in front of all else. There
    /// must be something to show.
    void showAt(const QPoint& place);
    /// Loads what drawing takes, fonts above all, so that the first card comes at once.
    void warmUp();

private:
    NoticeStackView* stack_ = nullptr;
};

} // namespace velmoran
