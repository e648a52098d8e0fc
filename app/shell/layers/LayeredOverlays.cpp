#include "app/shell/layers/LayeredOverlays.h"

#include "app/shell/layers/LayerSurface.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QWindow>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

/// All of a screen, to hear of a click there.
class Catcher final : public QWidget {
public:
    Catcher(layer::Compositor& compositor, std::function<void()> clicked)
        : clicked_(std::move(clicked)),
          surface_(*this, compositor) {
        setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
                       Qt::BypassWindowManagerHint);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_QuitOnClose, false);
        setObjectName(QStringLiteral("clickCatcher"));
        surface_.coverAll();
    }
    void cover(const QRect& frame) {
        surface_.present(frame, QRegion(QRect(QPoint(), frame.size())), false);
    }

protected:
    void mousePressEvent(QMouseEvent*) override {
        // A copy, since it may end this.
        const auto clicked = clicked_;
        clicked();
    }

private:
    std::function<void()> clicked_;
    layer::LayerSurface surface_;
};

class Catchers final : public QObject {
public:
    Catchers(layer::Compositor& compositor, const std::function<void()>& clicked) {
        for (const auto& output : compositor.outputs()) {
            catchers_.push_back(std::make_unique<Catcher>(compositor, clicked));
            catchers_.back()->cover(output.area.frame);
        }
    }

private:
    std::vector<std::unique_ptr<Catcher>> catchers_;
};

class LayeredOverlays final : public Overlays {
public:
    LayeredOverlays() {
        compositor_.onAreasChanged = [this] {
            onAreasChanged();
        };
        presses_.compositor = &compositor_;
        qGuiApp->installEventFilter(&presses_);
    }

    bool isThere() const { return compositor_.shell() != nullptr; }

    std::unique_ptr<OverlaySurface> surfaceOf(QWidget& window) override {
        return std::make_unique<layer::LayerSurface>(window, compositor_);
    }
    std::vector<ScreenArea> areas() const override {
        std::vector<ScreenArea> result;
        for (const auto& output : compositor_.outputs()) {
            result.push_back(output.area);
        }
        return result;
    }
    bool blends() const override { return true; }
    bool placesWindows() const override { return false; }
    std::unique_ptr<QObject> catchClicks(std::function<void()> clicked) override {
        return std::make_unique<Catchers>(compositor_, clicked);
    }

private:
    /// Hears of each press on an overlay, which may be about to bring a window.
    struct Presses final : QObject {
        layer::Compositor* compositor = nullptr;

        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::MouseButtonPress && watched->isWindowType()) {
                auto* window = static_cast<QWindow*>(watched);
                if (window->flags().testFlag(Qt::BypassWindowManagerHint)) {
                    compositor->notePress(layer::Compositor::surfaceOf(*window));
                }
            }
            return false;
        }
    };

    layer::Compositor compositor_;
    Presses presses_;
};

} // namespace

std::unique_ptr<Overlays> layeredOverlays() {
    if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        return nullptr;
    }
    auto overlays = std::make_unique<LayeredOverlays>();
    return overlays->isThere() ? std::unique_ptr<Overlays>(std::move(overlays)) : nullptr;
}

bool isBuiltWithLayers() {
    return true;
}

} // namespace velmoran
