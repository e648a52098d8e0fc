// The window with the cards: on top of everything, on every desktop, and never taking the focus.
// Made once, before the first card, since making a window takes longer than showing one.
#pragma once

#include "app/shell/NoticeStackView.h"

#include <QWidget>
#include <vector>

namespace velmoran {

class NoticePanel final : public QWidget {
public:
    NoticePanel();

    /// Replaces what is shown by cards for these, as many as there is room for. Where it stands is
    /// left alone until `placeAt`.
    void setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                  const NoticeView::Clicks& clicks, int room);
    /// What the cards take.
    QSize wantedSize() const { return stack_ ? stack_->size() : QSize(); }
    /// Takes that size, with the upper left corner there.
    void placeAt(const QPoint& place);
    /// Makes the window ready without showing it.
    void prepare();
    /// Loads what drawing a first card needs, fonts above all: some tens of milliseconds that the
    /// first card then doesn't take.
    void warmUp();

protected:
    void showEvent(QShowEvent* event) override;

private:
    NoticeStackView* stack_ = nullptr;
};

} // namespace velmoran
