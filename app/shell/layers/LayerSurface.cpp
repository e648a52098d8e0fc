#include "app/shell/layers/LayerSurface.h"

#include "app/shell/surface/WindowGeometry.h"

#include <QEvent>
#include <QPainter>
#include <utility>

namespace velmoran::layer {

namespace {

/// Closed twice within this time, it is not wanted there.
constexpr qint64 closedAgainMilliseconds = 2000;
/// A surface is closed before its screen is said to be gone.
constexpr int goneMilliseconds = 200;

} // namespace

/// What is dragged, over all of its screen's area, and without the mouse.
class LayerSurface::DragPicture final : public QWidget {
public:
    DragPicture(QPixmap picture, Compositor& compositor)
        : picture_(std::move(picture)),
          surface_(*this, compositor) {
        setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus |
                       Qt::BypassWindowManagerHint);
        setAttribute(Qt::WA_ShowWithoutActivating);
        setAttribute(Qt::WA_TranslucentBackground);
        setAttribute(Qt::WA_QuitOnClose, false);
        setObjectName(QStringLiteral("dragPicture"));
    }

    void moveTo(const QPoint& place, const QRect& area) {
        place_ = place - area.topLeft();
        if (!std::exchange(isThere_, true)) {
            surface_.present(area, QRegion(), false);
        }
        update();
    }

    std::function<void()> onDrawn = [] {
    };

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).drawPixmap(place_, picture_);
        std::exchange(onDrawn, [] {})();
    }

private:
    QPixmap picture_;
    QPoint place_;
    bool isThere_ = false;
    LayerSurface surface_;
};

LayerSurface::LayerSurface(QWidget& window, Compositor& compositor)
    : window_(window),
      compositor_(compositor) {
    due_.setSingleShot(true);
    due_.setInterval(patienceMilliseconds);
    connect(&due_, &QTimer::timeout, this, &LayerSurface::lose);
    window_.installEventFilter(this);
}

LayerSurface::~LayerSurface() {
    picture_.reset();
    dropRole();
}

wl_surface* LayerSurface::surface() const {
    return window_.windowHandle() ? Compositor::surfaceOf(*window_.windowHandle()) : nullptr;
}

void LayerSurface::present(const QRect& frame, const QRegion& shape, bool) {
    if (std::exchange(picture_, nullptr)) {
        onDraws(true);
    }
    frame_ = frame;
    shape_ = shape;
    isWanted_ = true;
    const auto output = compositor_.outputAt(frame.center());
    if (role_ && screen_ != output.screen) {
        endSurface();
    }
    if (!output.screen) {
        return; // until there is one
    }
    const bool isResized = window_.size() != frame.size();
    setWindowGeometry(window_, frame);
    if (!role_) {
        if (!makeRole(output)) {
            QTimer::singleShot(0, this, &LayerSurface::lose);
        }
        return;
    }
    send(output);
    if (isConfigured_) {
        compositor_.setInput(surface(), shape_);
    }
    // Another size comes with the picture in it: Qt's next commit takes all of this along.
    if (isConfigured_ && !window_.isVisible()) {
        window_.show();
    } else if (!isConfigured_ || !isResized) {
        wl_surface_commit(surface());
    }
    if (!isConfigured_ && !due_.isActive()) {
        due_.start();
    }
    compositor_.flush();
}

void LayerSurface::prepare() {
    keepsReady_ = true;
    makeReady();
}

void LayerSurface::makeReady() {
    if (!keepsReady_ || isRefused_ || role_ || isWanted_) {
        return;
    }
    const auto outputs = compositor_.outputs();
    if (!outputs.empty()) {
        frame_ = QRect(outputs.front().area.visible.topLeft(), QSize(1, 1));
        makeRole(outputs.front());
    }
}

bool LayerSurface::makeRole(const Compositor::Output& output) {
    dropStale();
    window_.winId();
    auto* handle = window_.windowHandle();
    if (!handle) {
        return false;
    }
    handle->setScreen(output.screen);
    handle->create();
    auto* own = surface();
    if (!own) {
        return false;
    }
    static const SurfaceEvents events{
        .configure =
            [](void* data, wl_proxy*, std::uint32_t serial, std::uint32_t width,
               std::uint32_t height) {
                static_cast<LayerSurface*>(data)->configured(
                    serial, QSize(static_cast<int>(width), static_cast<int>(height)));
            },
        .closed = [](void* data, wl_proxy*) { static_cast<LayerSurface*>(data)->closed(); },
    };
    role_ = makeLayerSurface(compositor_.shell(), own, output.output,
                             coversAll_ ? Layer::top : Layer::overlay,
                             window_.objectName().toUtf8().constData(), events, this);
    if (!role_) {
        return false;
    }
    screen_ = output.screen;
    send(output);
    setKeyboard(role_, keyboard_);
    // Without a picture: the compositor answers with what it has room for, and only then one
    // counts.
    wl_surface_commit(own);
    compositor_.flush();
    if (isWanted_) {
        due_.start();
    }
    return true;
}

void LayerSurface::send(const Compositor::Output& output) {
    if (coversAll_) {
        setSize(role_, 0, 0);
        setAnchor(role_, top | bottom | left | right);
        coverBars(role_);
        return;
    }
    const auto place = frame_.topLeft() - output.area.visible.topLeft();
    setSize(role_, frame_.width(), frame_.height());
    setAnchor(role_, top | left);
    setMargin(role_, place.y(), place.x());
}

void LayerSurface::configured(std::uint32_t serial, QSize size) {
    acknowledge(role_, serial);
    if (coversAll_ && !size.isEmpty() && window_.size() != size) {
        window_.resize(size);
        shape_ = QRegion(QRect(QPoint(), size));
        compositor_.setInput(surface(), shape_);
    }
    due_.stop();
    isConfigured_ = true;
    isRefused_ = isRefused_ && !isWanted_;
    if (isWanted_ && !window_.isVisible()) {
        compositor_.setInput(surface(), shape_);
        window_.show();
    }
    compositor_.flush();
}

/// The screen goes, or the compositor doesn't want it any more.
void LayerSurface::closed() {
    const QPointer<QScreen> screen = screen_;
    if (!isWanted_) {
        isRefused_ =
            sinceReadyClosed_.isValid() && sinceReadyClosed_.elapsed() < closedAgainMilliseconds;
        sinceReadyClosed_.start();
    }
    endSurface();
    if (!isWanted_) {
        return;
    }
    QTimer::singleShot(goneMilliseconds, this, [this, screen] {
        if (role_ || !isWanted_) {
            return;
        }
        if (screen) {
            if (sinceClosed_.isValid() && sinceClosed_.elapsed() < closedAgainMilliseconds) {
                lose();
                return;
            }
            sinceClosed_.start();
        }
        present(frame_, shape_, false);
    });
}

void LayerSurface::lose() {
    takeAway();
    onLost();
}

void LayerSurface::dropRole() {
    due_.stop();
    isConfigured_ = false;
    screen_ = nullptr;
    if (role_) {
        destroySurface(std::exchange(role_, nullptr));
    }
}

void LayerSurface::takeAway() {
    if (!std::exchange(isWanted_, false)) {
        return;
    }
    if (std::exchange(picture_, nullptr)) {
        onDraws(true);
    }
    endSurface();
}

/// The role before its surface, which Qt ends when the window is hidden.
void LayerSurface::endSurface() {
    dropRole();
    window_.hide();
    compositor_.flush();
    isStale_ = window_.windowHandle() != nullptr;
    // Later, since the window may be on its way through a click or its own closing.
    QTimer::singleShot(0, this, [this] {
        dropStale();
        makeReady();
    });
}

void LayerSurface::dropStale() {
    if (std::exchange(isStale_, false) && window_.windowHandle()) {
        window_.windowHandle()->destroy();
    }
}

void LayerSurface::dragTo(const QPoint& place) {
    if (!role_) {
        return;
    }
    if (!picture_) {
        picture_ = std::make_unique<DragPicture>(window_.grab(), compositor_);
        picture_->onDrawn = [this] {
            QTimer::singleShot(0, this, [this] { onDraws(picture_ == nullptr); });
        };
    }
    picture_->moveTo(place, compositor_.outputAt(frame_.center()).area.visible);
}

void LayerSurface::setKeyboardWish(Keyboard keyboard) {
    keyboard_ = keyboard;
    if (role_) {
        setKeyboard(role_, keyboard_);
        wl_surface_commit(surface());
        compositor_.flush();
    }
}

void LayerSurface::takeKeyboard() {
    setKeyboardWish(Keyboard::exclusive);
}

void LayerSurface::giveKeyboardBack() {
    setKeyboardWish(Keyboard::none);
}

void LayerSurface::noteKeyboardGone() {
    setKeyboardWish(Keyboard::none);
}

bool LayerSurface::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &window_ && event->type() == QEvent::Close && role_) {
        // As all are closed when the program ends. Qt ends the surface with that, and newer
        // compositors end the connection of whoever does so before the role.
        isWanted_ = false;
        dropRole();
        compositor_.flush();
        isStale_ = true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace velmoran::layer
