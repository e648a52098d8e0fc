#include "app/screens/ContentWindow.h"

#include "app/screens/WindowPlacing.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QIcon>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

/// What a title bar takes, as long as the desktop hasn't told.
constexpr QSize aroundUntilKnown(4, 40);

} // namespace

std::vector<QRect> visibleScreens() {
    std::vector<QRect> result;
    const auto* main = QGuiApplication::primaryScreen();
    for (const auto* screen : QGuiApplication::screens()) {
        result.insert(screen == main ? result.begin() : result.end(), screen->availableGeometry());
    }
    return result;
}

ContentWindow::ContentWindow() : area_(new QScrollArea(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSizeConstraint(QLayout::SetNoConstraint);
    layout->addWidget(area_);
    area_->setFrameShape(QFrame::NoFrame);
    area_->setWidgetResizable(true);
    area_->setFocusPolicy(Qt::NoFocus);
    area_->viewport()->installEventFilter(this);
    setWindowIcon(QIcon::fromTheme(QGuiApplication::desktopFileName()));
    auto* closing = new QShortcut(QKeySequence(QKeySequence::Close), this);
    connect(closing, &QShortcut::activated, this, &QWidget::close);
    setAttribute(Qt::WA_QuitOnClose, false);
}

void ContentWindow::setContent(std::unique_ptr<QWidget> content) {
    if (auto* last = area_->takeWidget()) {
        // Later, since a click in it may have brought us here.
        last->removeEventFilter(this);
        last->hide();
        last->setParent(this);
        last->deleteLater();
    }
    content_ = content.get();
    if (content) {
        content->installEventFilter(this);
        area_->setWidget(content.release());
        if (!content_->isVisibleTo(area_)) {
            content_->show();
        }
    }
}

void ContentWindow::setKind(bool resizable, std::optional<QSize> size) {
    isResizable_ = resizable;
    size_ = size;
}

QSize ContentWindow::wantedSize() const {
    if (size_) {
        return *size_;
    }
    if (!content_) {
        return size();
    }
    content_->ensurePolished();
    auto wanted = content_->sizeHint()
                      .expandedTo(content_->minimumSizeHint())
                      .expandedTo(content_->minimumSize())
                      .boundedTo(content_->maximumSize());
    if (content_->hasHeightForWidth()) {
        wanted.setHeight(std::max(wanted.height(), content_->heightForWidth(wanted.width())));
    }
    return wanted;
}

QRect ContentWindow::frame() const {
    // Not as the widget has it, which may have missed what the desktop has put around it.
    return isVisible() && windowHandle() ? windowHandle()->frameGeometry() : QRect(place_, size());
}

QSize ContentWindow::around() const {
    const auto margins =
        isVisible() && windowHandle() ? windowHandle()->frameMargins() : QMargins();
    const QSize known(margins.left() + margins.right(), margins.top() + margins.bottom());
    return known.height() > 0 ? known : aroundUntilKnown;
}

void ContentWindow::put(const QPoint& place) {
    place_ = place;
    if (isVisible() && windowHandle()) {
        windowHandle()->setFramePosition(place);
    } else {
        move(place);
    }
}

void ContentWindow::fit(const QRect& visible) {
    const bool isOtherScale = std::exchange(scale_, devicePixelRatioF()) != devicePixelRatioF();
    if (isOtherScale) {
        // The desktop would go on with the limits as they were, in dots.
        setMinimumSize(0, 0);
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    }
    const auto last = isOtherScale && !sizeBefore_.isEmpty() ? sizeBefore_ : size();
    const auto wanted = fitting(visible, wantedSize(), around());
    if (isResizable_) {
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        setMinimumSize(wanted);
        resize(fitting(visible, last.expandedTo(wanted), around()));
    } else {
        // What is cut on one side is scrolled, and the bar takes of the other.
        auto room = wanted;
        const auto bar = area_->style()->pixelMetric(QStyle::PM_ScrollBarExtent);
        if (room.height() < wantedSize().height()) {
            room = fitting(visible, room + QSize(bar, 0), around());
        }
        setFixedSize(room);
    }
    // After a change of scale the window has as many dots as before, which are other points, and
    // the widget may not have heard of it.
    if (isVisible() && windowHandle() && windowHandle()->size() != size()) {
        windowHandle()->resize(size());
    }
}

/// Nothing while it is as large as a screen, or where there is none.
QRect ContentWindow::screenToFit() const {
    return windowState().testAnyFlags(Qt::WindowMaximized | Qt::WindowFullScreen)
               ? QRect()
               : screenOf(frame(), visibleScreens());
}

void ContentWindow::fitInPlace() {
    const auto before = frame();
    const auto screen = screenToFit();
    if (screen.isEmpty()) {
        return;
    }
    fit(screen);
    const auto place = keptOn(screen, QRect(before.topLeft(), size() + around())).topLeft();
    if (!isVisible() || place != before.topLeft()) {
        put(place);
    }
}

void ContentWindow::centre(const QRect& visible) {
    if (isResizable_ && size_) {
        resize(*size_);
    }
    fit(visible);
    put(centred(visible, frame().size()));
}

void ContentWindow::bringToFront() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    connect(windowHandle(), &QWindow::screenChanged, this, &ContentWindow::noteScreen,
            Qt::UniqueConnection);
    raise();
    activateWindow();
}

void ContentWindow::release() {
    setContent(nullptr);
    destroy();
}

/// Somebody has moved it to another one, by hand: where it stands is his business.
void ContentWindow::noteScreen() {
    QTimer::singleShot(0, this, [this] {
        const auto screen = screenToFit();
        if (isVisible() && scale_ != devicePixelRatioF() && !screen.isEmpty()) {
            fit(screen);
        }
    });
}

void ContentWindow::adapt() {
    if (isResizable_ || !isVisible() || !content_) {
        return;
    }
    if (size() != wantedSize()) {
        fitInPlace();
    }
}

bool ContentWindow::event(QEvent* event) {
    // The desktop's letters have become larger, or its style another.
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        QTimer::singleShot(0, this, [this] { adapt(); });
    }
    return QWidget::event(event);
}

void ContentWindow::resizeEvent(QResizeEvent* event) {
    // On a screen of another scale a window comes with as many dots, which are other points.
    if (scale_ == devicePixelRatioF()) {
        sizeBefore_ = size();
    }
    QWidget::resizeEvent(event);
}

void ContentWindow::closeEvent(QCloseEvent* event) {
    place_ = frame().topLeft();
    event->accept();
    if (onClose) {
        onClose();
    }
}

/// What stands in the content has changed its size.
bool ContentWindow::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::LayoutRequest) {
        // Later, when its own layout has heard of it too.
        QTimer::singleShot(0, this, [this] { adapt(); });
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace velmoran
