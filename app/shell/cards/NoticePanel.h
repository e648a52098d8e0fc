// The window with the cards. Owned by its controller; main thread. Made once, before the first
// card, since making a window takes longer than showing one.
#pragma once

#include "app/shell/cards/NoticeStackView.h"
#include "app/shell/surface/OverlayPanel.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmoran {

class NoticePanel final : public OverlayPanel {
public:
    /// The overlays outlive it.
    explicit NoticePanel(Overlays& overlays);

    /// Replaces the content by cards for these, as many as there is room for. Whether and where it
    /// is shown is left alone until `showAt`.
    void setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                  const NoticeView::Clicks& clicks, int room);
    /// What the cards take.
    QSize wantedSize() const { return stack_ ? stack_->size() : QSize(); }
    /// Shows itself in that size, with the upper left corner there, in front of all else. There
    /// must be something to show.
    void showAt(const QPoint& place);
    /// Puts the keyboard into the newest card, until Escape, a click elsewhere or the last card's
    /// end give it back to who had it.
    void takeKeyboard();
    /// Told of each card when it comes, or says something else.
    std::function<void(NoticeView&)> announce = [](NoticeView& card) {
        card.announce();
    };
    /// Told when its letters have become others: cards are measured when they are made.
    std::function<void()> lettersChanged = [] {
    };
    /// Loads what drawing takes, fonts above all, so that the first card comes at once.
    void warmUp();

protected:
    bool event(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void giveKeyboardBack();

    NoticeStackView* stack_ = nullptr;
    std::map<Uuid, std::string> told_; ///< what cards that are there have said
    bool isNews_ = false;
    bool hasKeyboard_ = false;
};

} // namespace velmoran
