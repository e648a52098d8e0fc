#include "app/shell/NoticePanel.h"

#include "app/shell/X11Window.h"

#include <QLayout>
#include <QVBoxLayout>
#include <QWindow>

namespace velmoran {

NoticePanel::NoticePanel() {
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setWindowTitle(QStringLiteral("Velmoran"));
    setObjectName(QStringLiteral("notices"));
    setFixedWidth(panelWidth);
}

void NoticePanel::prepare() {
    winId();
    if (windowHandle()) {
        windowHandle()->create();
    }
    setOnAllDesktops(*this);
}

void NoticePanel::setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                           const NoticeView::Clicks& clicks) {
    auto* stack = new QWidget(this);
    auto* column = new QVBoxLayout(stack);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing);
    views_.clear();
    for (const auto& item : items) {
        views_.push_back(new NoticeView(item, picture, clicks, stack));
        column->addWidget(views_.back());
    }
    stack->setFixedWidth(panelWidth);
    // Wrapped lines make the height follow from the width.
    const int height = column->hasHeightForWidth() ? column->totalHeightForWidth(panelWidth)
                                                   : column->totalSizeHint().height();
    stack->setGeometry(0, 0, panelWidth, height);
    column->activate();
    if (stack_) {
        // Later, since a click on one of its buttons may have brought us here.
        stack_->hide();
        stack_->deleteLater();
    }
    stack_ = stack;
    stack_->show();
    setFixedHeight(height);
    cutCorners(!hasCompositor());
    update();
}

void NoticePanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    setOnAllDesktops(*this);
}

void NoticePanel::cutCorners(bool cut) {
    QRegion shape;
    for (auto* view : views_) {
        view->setCornersAreCut(cut);
        shape += roundedRegion(view->geometry(), NoticeView::cornerRadius);
    }
    if (cut) {
        setMask(shape);
    } else {
        clearMask();
    }
}

} // namespace velmoran
