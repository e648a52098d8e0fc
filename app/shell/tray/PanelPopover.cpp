#include "app/shell/tray/PanelPopover.h"

#include "app/shell/cards/NoticePlacing.h"
#include "app/shell/surface/WindowGeometry.h"
#include "app/shell/surface/X11Window.h"

#include <QApplication>
#include <QCloseEvent>
#include <QHideEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr int line = 1;
/// Between a window's losing the keyboard to a bar and that bar's word of the click.
constexpr qint64 clickMilliseconds = 400;

/// Where the mouse can be held, every click is heard of and the keyboard comes without asking
/// anybody. Elsewhere the desktop gives the keyboard, and a click elsewhere takes it away.
Qt::WindowFlags kindOfWindow(const Overlays& overlays) {
    if (!overlays.placesWindows()) {
        return Qt::Tool | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint |
               Qt::BypassWindowManagerHint;
    }
    return Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint |
           (knowsTheMouse() ? Qt::Popup : Qt::Tool | Qt::WindowStaysOnTopHint);
}

bool isWithin(const QWidget* widget, const QWidget* ancestor) {
    while (widget && widget != ancestor) {
        widget = widget->parentWidget();
    }
    return widget != nullptr;
}

} // namespace

PanelPopover::PanelPopover(std::function<std::optional<QRect>()> anchor, Overlays& overlays)
    : QWidget(nullptr, kindOfWindow(overlays)),
      anchor_(std::move(anchor)),
      overlays_(overlays),
      area_(new QScrollArea(this)) {
    setObjectName(QStringLiteral("panelPopover"));
    setWindowTitle(QStringLiteral("Velmoran"));
    setAttribute(Qt::WA_QuitOnClose, false);
    setAttribute(Qt::WA_TranslucentBackground);
    if (!overlays_.placesWindows()) {
        surface_ = overlays_.surfaceOf(*this);
        surface_->onLost = [this] {
            close();
            if (onLost) {
                onLost();
            }
        };
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(line, line, line, line);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(area_);
    area_->setFrameShape(QFrame::NoFrame);
    area_->setWidgetResizable(true);
    area_->setFocusPolicy(Qt::NoFocus);
    area_->viewport()->setAutoFillBackground(false);
    area_->viewport()->installEventFilter(this);
}

PanelPopover::~PanelPopover() {
    qApp->removeEventFilter(this);
}

void PanelPopover::open(std::unique_ptr<QWidget> content) {
    dropContent();
    content_ = content.get();
    content->installEventFilter(this);
    area_->setWidget(content.release());
    content_->setAutoFillBackground(false);
    content_->show();
    if (surface_) {
        // Before it comes itself, so that it stands above that.
        elsewhere_ = overlays_.catchClicks([this] { close(); });
        surface_->takeKeyboard();
    }
    layOut();
    if (!surface_) {
        show();
        raise();
        activateWindow();
    }
    qApp->installEventFilter(this);
}

bool PanelPopover::wentByThatClick() const {
    return !isVisible() && sinceLeft_.isValid() && sinceLeft_.elapsed() < clickMilliseconds;
}

QRect PanelPopover::placeOf(const QRect& visible, const std::optional<QRect>& anchor,
                            const QSize& wanted) {
    const QSize size(std::min(wanted.width(), visible.width()),
                     std::min(wanted.height(), noticePanelRoom(visible, anchor)));
    const QPoint place = noticePanelPlace(visible, anchor, size);
    return {QPoint(std::max(visible.x(), place.x()), place.y()), size};
}

void PanelPopover::layOut() {
    if (!content_) {
        return;
    }
    const auto anchor = anchor_();
    const auto areas = overlays_.areas();
    const auto visible = anchor          ? overlays_.areaAt(anchor->center()).visible
                         : areas.empty() ? QRect()
                                         : areas.front().visible;
    content_->ensurePolished();
    const auto wanted = content_->sizeHint()
                            .expandedTo(content_->minimumSizeHint())
                            .expandedTo(content_->minimumSize())
                            .boundedTo(content_->maximumSize()) +
                        QSize(2 * line, 2 * line);
    placeAt(placeOf(visible, anchor, wanted));
    cornersAreCut_ = !overlays_.blends();
    clearMask(); // also where the same points are other dots now
    if (cornersAreCut_) {
        setMask(roundedRegion(rect(), cornerRadius));
    }
    update();
}

QRect PanelPopover::place() const {
    if (!isVisible()) {
        return {};
    }
    return surface_ ? place_ : geometry();
}

void PanelPopover::placeAt(const QRect& frame) {
    if (surface_) {
        place_ = frame;
        surface_->present(frame, QRegion(QRect(QPoint(), frame.size())), false);
        noteMove();
    } else {
        setWindowGeometry(*this, frame);
    }
}

void PanelPopover::dropContent() {
    content_ = nullptr; // laid out no more
    if (auto* last = area_->takeWidget()) {
        // Later, since a click in it may have closed the panel.
        last->hide();
        last->setParent(this);
        last->deleteLater();
    }
}

bool PanelPopover::event(QEvent* event) {
    if (event->type() == QEvent::WindowDeactivate && windowType() != Qt::Popup) {
        // Later, when it is known who has the keyboard instead.
        QTimer::singleShot(0, this, [this] {
            if (isVisible() && !isActiveWindow() && !QApplication::activePopupWidget() &&
                !isWithin(QApplication::activeWindow(), this)) {
                sinceLeft_.start();
                close();
            }
        });
    }
    return QWidget::event(event);
}

bool PanelPopover::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::LayoutRequest &&
        (watched == content_ || watched == area_->viewport())) {
        QTimer::singleShot(0, this, &PanelPopover::layOut);
    }
    if (event->type() == QEvent::Show && watched->isWidgetType()) {
        // A window of the program that takes the keyboard would stand there without it.
        auto* window = static_cast<QWidget*>(watched);
        if (window->isWindow() && window->windowType() != Qt::ToolTip &&
            !window->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus) &&
            !isWithin(window, this)) {
            close();
        }
    }
    return QWidget::eventFilter(watched, event);
}

void PanelPopover::closeEvent(QCloseEvent* event) {
    qApp->removeEventFilter(this);
    event->accept();
    if (surface_) {
        surface_->noteKeyboardGone();
        surface_->takeAway();
        // Later, since a click on it may have closed the panel.
        if (auto* last = elsewhere_.release()) {
            last->deleteLater();
        }
    }
    dropContent();
}

void PanelPopover::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (onHidden) {
        onHidden();
    }
}

void PanelPopover::noteMove() {
    if (isVisible() && onMoved) {
        onMoved();
    }
}

void PanelPopover::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    noteMove();
}

void PanelPopover::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    noteMove();
}

void PanelPopover::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    noteMove();
}

void PanelPopover::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel)) {
        close();
        return;
    }
    QWidget::keyPressEvent(event);
}

void PanelPopover::mousePressEvent(QMouseEvent* event) {
    const auto anchor = anchor_();
    // Otherwise the icon would get the press after all, and bring the panel back.
    setAttribute(Qt::WA_NoMouseReplay,
                 anchor && anchor->contains(event->globalPosition().toPoint()));
    if (!rect().contains(event->position().toPoint())) {
        close();
    }
}

void PanelPopover::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto ground = palette().color(QPalette::Window);
    auto edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(0.2F);
    if (cornersAreCut_) {
        painter.fillRect(rect(), ground);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), cornerRadius, cornerRadius);
    painter.setPen(QPen(edge, line));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius - 0.5,
                            cornerRadius - 0.5);
}

} // namespace velmoran
