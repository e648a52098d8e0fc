// Keeps the panel with the cards as the notice center has them. Owned by the status item; main
// thread.
#pragma once

#include "app/notices/JoinedNotices.h"
#include "app/shell/cards/NoticePanel.h"
#include "app/shell/cards/NoticeSurface.h"

#include <QRect>
#include <functional>
#include <optional>

namespace velmoran {

class NoticePanelController final : public NoticeSurface {
public:
    /// `anchor` answers with the status item's rectangle on the screen, or nothing. The center and
    /// the overlays outlive the controller.
    NoticePanelController(NoticeCenter& notices, std::function<std::optional<QRect>()> anchor,
                          AppPicture picture, Overlays& overlays = placedOverlays());

    /// Brings the cards, if there are any, in front of everything.
    void raise();
    /// Puts the keyboard into the newest card, if there is one.
    void takeKeyboard() {
        raise();
        panel_.takeKeyboard();
    }
    /// Draws the cards that are shown in the colours, and on the screens, of now.
    void redraw() override;
    const NoticePanel& panel() const { return panel_; }

    /// What the cards don't stand on top of or below, in the screen's coordinates; an empty
    /// rectangle while there is nothing. May be unset. Asked for whenever cards are placed.
    std::function<QRect()> obstacle;
    /// The same of the panel at the status item, beside which they stand while it is open: neither
    /// hides the other.
    std::function<QRect()> openPanel;

private:
    void update();
    /// Takes up as many cards as that room holds; where they would stand, without the padding.
    QRect arrange(const QRect& visible, const std::optional<QRect>& anchor, int room);

    Overlays& overlays_;
    std::function<std::optional<QRect>()> anchor_;
    AppPicture picture_;
    std::vector<NoticeItem> shown_;
    bool isLost_ = false; ///< from then on others show the notices
    NoticePanel panel_;
    JoinedNotices notices_;
};

} // namespace velmoran
