// One window as a layer surface. The window is Qt's, without a role of Qt's making; the role is
// made when it is presented and ends when it goes, and with it the compositor's surface, which
// keeps a role for life. Owned by the window's own class; main thread.
#pragma once

#include "app/shell/layers/Compositor.h"

#include <QElapsedTimer>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <memory>

namespace velmoran::layer {

class LayerSurface final : public QObject, public OverlaySurface {
public:
    /// Both outlive it.
    LayerSurface(QWidget& window, Compositor& compositor);
    ~LayerSurface() override;

    void present(const QRect& frame, const QRegion& shape, bool cut) override;
    void takeAway() override;
    /// Has the compositor's first word before there is anything to show.
    void prepare() override;
    /// The window itself stays where the mouse has pressed it, since compositors don't agree on
    /// where the mouse is in a window that moves below it. A picture of it is moved instead.
    void dragTo(const QPoint& place) override;
    void takeKeyboard() override;
    void giveKeyboardBack() override;
    void noteKeyboardGone() override;

    /// Over all of its screen, bars too, and below all others of this kind.
    void coverAll() { coversAll_ = true; }

    /// How long a compositor may take to let a surface come.
    static constexpr int patienceMilliseconds = 3000;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class DragPicture;

    bool makeRole(const Compositor::Output& output);
    void dropRole();
    void endSurface();
    void dropStale();
    void makeReady();
    void configured(std::uint32_t serial, QSize size);
    void closed();
    void lose();
    void send(const Compositor::Output& output);
    void setKeyboardWish(Keyboard keyboard);
    wl_surface* surface() const;

    QWidget& window_;
    Compositor& compositor_;
    wl_proxy* role_ = nullptr;
    QPointer<QScreen> screen_; ///< of the role
    bool isConfigured_ = false;
    bool isWanted_ = false;   ///< presented, and not taken away
    bool keepsReady_ = false; ///< has a role also while it isn't
    bool isRefused_ = false;  ///< that is closed, as often as it is made, until one was shown
    bool coversAll_ = false;
    bool isStale_ = false; ///< the window's own surface, which has had its role
    QRect frame_;
    QRegion shape_;
    Keyboard keyboard_ = Keyboard::none;
    QTimer due_;                     ///< the compositor's first word
    QElapsedTimer sinceClosed_;      ///< by the compositor, while there was a screen for it
    QElapsedTimer sinceReadyClosed_; ///< the same while it wasn't presented
    std::unique_ptr<DragPicture> picture_;
};

} // namespace velmoran::layer
