// Overlays of a desktop on which windows place themselves. On X11 they go past the window manager,
// which would else put full-screen windows above them.
#include "app/shell/surface/Overlays.h"
#include "app/shell/surface/WindowGeometry.h"
#include "app/shell/surface/X11Window.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>
#include <cstdint>
#include <utility>

namespace velmoran {

namespace {

class PlacedSurface final : public OverlaySurface {
public:
    explicit PlacedSurface(QWidget& window) : window_(window) {}

    void present(const QRect& frame, const QRegion& shape, bool cut) override {
        // In one step: it would else be seen growing to the wrong side, and then moving.
        setWindowGeometry(window_, frame);
        // The same points are other dots.
        if (std::exchange(scale_, window_.devicePixelRatioF()) != window_.devicePixelRatioF()) {
            window_.clearMask();
        }
        if (cut) {
            window_.setMask(shape);
        } else {
            window_.clearMask();
        }
        window_.show();
        // Where there is nothing but shadow or nothing at all, the click belongs to what is below.
        setInputShape(window_, shape);
        window_.raise();
    }
    void takeAway() override { window_.hide(); }
    void prepare() override {
        window_.winId();
        if (window_.windowHandle()) {
            window_.windowHandle()->create();
        }
    }
    void dragTo(const QPoint& place) override { window_.move(place); }
    void raise() override { window_.raise(); }

    void takeKeyboard() override {
        if (!hasKeyboard_) {
            hadKeyboard_ = x11Focus();
            hasKeyboard_ = true;
        }
        // Of the window alone: for the widget it would be another window, made anew.
        window_.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, false);
        if (x11Connection()) {
            // By no older time than that of a menu that the tray has shown in our place.
            setX11Focus(static_cast<std::uint32_t>(window_.internalWinId()));
        } else {
            window_.windowHandle()->requestActivate();
        }
    }
    void giveKeyboardBack() override {
        noteKeyboardGone();
        // Nobody has it when the window has just gone.
        if (const auto now = x11Focus(); now == window_.internalWinId() || now == 0) {
            setX11Focus(hadKeyboard_);
        }
    }
    void noteKeyboardGone() override {
        hasKeyboard_ = false;
        window_.windowHandle()->setFlag(Qt::WindowDoesNotAcceptFocus, true);
    }

private:
    QWidget& window_;
    double scale_ = 0; ///< in dots for a point, when it was presented last
    bool hasKeyboard_ = false;
    std::uint32_t hadKeyboard_ = 0; ///< the window that had it before
};

class PlacedOverlays final : public Overlays {
public:
    std::unique_ptr<OverlaySurface> surfaceOf(QWidget& window) override {
        return std::make_unique<PlacedSurface>(window);
    }
    std::vector<ScreenArea> areas() const override {
        std::vector<ScreenArea> result;
        const auto* main = QGuiApplication::primaryScreen();
        for (const auto* screen : QGuiApplication::screens()) {
            result.insert(screen == main ? result.begin() : result.end(),
                          {screen->geometry(), screen->availableGeometry()});
        }
        return result;
    }
    bool blends() const override { return hasCompositor(); }
    bool placesWindows() const override { return true; }
    std::unique_ptr<QObject> catchClicks(std::function<void()>) override { return nullptr; }
};

} // namespace

ScreenArea Overlays::areaAt(const QPoint& point) const {
    const auto all = areas();
    const auto found = std::find_if(
        all.begin(), all.end(), [&](const ScreenArea& area) { return area.frame.contains(point); });
    return found != all.end() ? *found : all.empty() ? ScreenArea() : all.front();
}

Overlays& placedOverlays() {
    static PlacedOverlays overlays;
    return overlays;
}

} // namespace velmoran
