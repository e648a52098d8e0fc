// The ring around the control that the keyboard has come to: 2 points in the palette's highlight, 2
// points away from the control, drawn above its surroundings so that no layout has to leave room.
// One in the program; it goes where the focus goes. Main thread.
#pragma once

#include <QPointer>
#include <QWidget>

namespace velmoran {

class FocusRing final : public QWidget {
public:
    /// Around `frame` in `control`, until the control is left, hidden or gone.
    static void show(QWidget& control, const QRectF& frame, double radius);
    /// If it is around that control.
    static void hide(const QWidget& control);
    /// Null while there is none.
    static const QWidget* target();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    FocusRing(QWidget& control, QWidget* over, const QRectF& frame, double radius);
    void follow();

    QPointer<QWidget> control_;
    QRectF frame_;
    double radius_;
};

} // namespace velmoran
