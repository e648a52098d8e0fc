// The compositor that Qt is connected to, and what the layers need of it beyond Qt: its layer-shell
// and the screens with what bars leave of them. Owned by the overlays; main thread.
#pragma once

#include "app/shell/layers/LayerProtocol.h"
#include "app/shell/surface/Overlays.h"

#include <QObject>
#include <QPointer>
#include <QScreen>
#include <QSize>
#include <QWindow>
#include <functional>
#include <memory>
#include <vector>

namespace velmoran::layer {

class Compositor final : public QObject {
public:
    Compositor();
    ~Compositor() override;

    /// Null where it has none; nothing else counts then.
    wl_proxy* shell() const { return shell_; }
    /// Sends what has been asked for.
    void flush() const;

    struct Output {
        QScreen* screen = nullptr; ///< null: there is no screen
        wl_output* output = nullptr;
        ScreenArea area;
    };
    /// The main one first.
    std::vector<Output> outputs() const;
    Output outputAt(const QPoint& point) const;

    /// Qt's own surface for that window; null while it has none.
    static wl_surface* surfaceOf(QWindow& window);
    /// Where the mouse is taken, in points of the window; nothing else reaches it.
    void setInput(wl_surface* surface, const QRegion& region) const;
    /// The person has pressed that surface: the next window may come to the front for it.
    void notePress(wl_surface* surface);

    std::function<void()> onAreasChanged = [] {
    };

private:
    class Probe;

    void bind();
    void watch(QScreen* screen);

    wl_display* display_;
    wl_compositor* compositor_;
    wl_proxy* shell_ = nullptr;
    wl_proxy* activation_ = nullptr;
    wl_proxy* token_ = nullptr; ///< asked for and not yet given
    std::vector<std::unique_ptr<Probe>> probes_;
};

} // namespace velmoran::layer
