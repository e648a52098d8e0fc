// The panel that hangs at the status item: there from a click on it until Escape, a click elsewhere
// or another window of the program. Its content is made for each time. Owned by the status item;
// main thread.
#pragma once

#include "app/shell/surface/Overlays.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QRect>
#include <QScrollArea>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

namespace velmoran {

class PanelPopover final : public QWidget {
public:
    /// `anchor` is the status item's rectangle, or nothing, as often as it is asked.
    /// The overlays outlive it.
    explicit PanelPopover(std::function<std::optional<QRect>()> anchor,
                          Overlays& overlays = placedOverlays());
    ~PanelPopover() override;

    /// Shows itself at the anchor, with the keyboard.
    void open(std::unique_ptr<QWidget> content);
    /// Was closed just now by the click on the status item that is being told of.
    bool wentByThatClick() const;
    /// Where it belongs on the screens as they are now, if it is there.
    void layOut();
    /// Empty while it isn't there.
    QRect place() const;

    /// Called when it is no longer visible.
    std::function<void()> onHidden;
    /// Called when the desktop doesn't let it stand there.
    std::function<void()> onLost;
    /// Called when it has come, or takes another place or size.
    std::function<void()> onMoved;

    /// Above or below the anchor where there is more room, as much of that size as fits into the
    /// visible part of the screen; at its top right where there is no anchor.
    static QRect placeOf(const QRect& visible, const std::optional<QRect>& anchor,
                         const QSize& wanted);

    static constexpr int cornerRadius = 12;

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void dropContent();
    void noteMove();
    void placeAt(const QRect& frame);

    std::function<std::optional<QRect>()> anchor_;
    Overlays& overlays_;
    std::unique_ptr<OverlaySurface> surface_; ///< null where windows place themselves
    QRect place_;                             ///< on that
    std::unique_ptr<QObject> elsewhere_;      ///< hears of clicks beside it, while it is there
    QScrollArea* area_;
    QPointer<QWidget> content_;
    QElapsedTimer sinceLeft_; ///< since it went because the keyboard did
    bool cornersAreCut_ = false;
};

} // namespace velmoran
