// The buttons of a card, drawn here so that they look the same under every style and cost nothing
// to make. A click gives them no focus, since it gives their window none; Tab walks them while it
// has the keyboard. Owned by their card; main thread.
#pragma once

#include "app/look/CardColors.h"

#include <QPushButton>
#include <QToolButton>

namespace velmoran {

class CardButton final : public QPushButton {
public:
    CardButton(const QString& title, bool prominent, const CardColors& colors, QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool prominent_;
    CardColors colors_;
};

/// The cross in the card's corner.
class CardCloseButton final : public QToolButton {
public:
    CardCloseButton(const CardColors& colors, QWidget* parent);

    static constexpr int side = 20;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    CardColors colors_;
};

} // namespace velmoran
