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
    const auto known = frame().size() - size();
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
    const auto wanted = fitting(visible, wantedSize(), around());
    if (isResizable_) {
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        setMinimumSize(wanted);
        resize(fitting(visible, size().expandedTo(wanted), around()));
    } else {
        // What is cut on one side is scrolled, and the bar takes of the other.
        auto room = wanted;
        const auto bar = area_->style()->pixelMetric(QStyle::PM_ScrollBarExtent);
        if (room.height() < wantedSize().height()) {
            room = fitting(visible, room + QSize(bar, 0), around());
        }
        setFixedSize(room);
    }
}

void ContentWindow::fitInPlace() {
    const auto before = frame();
    const auto screen = screenOf(before, visibleScreens());
    if (screen.isEmpty() ||
        windowState().testAnyFlags(Qt::WindowMaximized | Qt::WindowFullScreen)) {
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
    raise();
    activateWindow();
}

void ContentWindow::release() {
    setContent(nullptr);
    destroy();
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
