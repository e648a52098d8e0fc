// Something that can be clicked or moved about with the mouse, its whole window with it. To whoever
// has the screen read aloud it is a button. Owned by its window; main thread.
#pragma once

#include <QAbstractButton>
#include <QPoint>
#include <functional>
#include <optional>

namespace velmoran {

class ClickOrDragView final : public QAbstractButton {
public:
    explicit ClickOrDragView(QWidget* parent = nullptr);

    std::function<void()> onClick;
    std::function<void()> onMoved;
    /// Where the window belongs by the mouse that holds it.
    std::function<void(const QPoint& place)> onDrag;
    std::function<void(bool inside)> onHover;
    /// Where the window is, in the plane of `onDrag`; as Qt has it while unset.
    std::function<QPoint()> place;

    /// A drag is under way: the mouse has been moved too far for a click and is still down.
    bool dragged() const { return dragged_; }

    /// What the mouse may move, in points, and still have clicked.
    static constexpr double clickTolerance = 4.0;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    std::optional<QPoint> start_; ///< where on the desktop the mouse went down
    QPoint windowStart_;
    bool dragged_ = false;
};

} // namespace velmoran
