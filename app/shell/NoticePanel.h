// The window with the cards: on top of everything, on every desktop, and never taking the focus.
// Made once, before the first card, since making a window takes longer than showing one.
#pragma once

#include "app/shell/NoticeView.h"

#include <QWidget>
#include <vector>

namespace velmoran {

class NoticePanel final : public QWidget {
public:
    NoticePanel();

    static constexpr int panelWidth = 368;
    static constexpr int padding = 12;
    static constexpr int spacing = 8;

    /// Replaces what is shown by cards for these, and takes the size that they need. Where it
    /// stands is left alone.
    void setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                  const NoticeView::Clicks& clicks);
    /// Makes the window and its fonts ready without showing it.
    void prepare();

protected:
    void showEvent(QShowEvent* event) override;

private:
    void cutCorners(bool cut);

    QWidget* stack_ = nullptr;
    std::vector<NoticeView*> views_; ///< of the stack, which owns them
};

} // namespace velmoran
