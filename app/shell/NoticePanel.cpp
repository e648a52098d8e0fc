#include "app/shell/NoticePanel.h"

#include "app/shell/X11Window.h"

#include <QPixmap>
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
}

void NoticePanel::prepare() {
    winId();
    if (windowHandle()) {
        windowHandle()->create();
    }
    setOnAllDesktops(*this);
}

void NoticePanel::warmUp() {
    if (stack_) {
        return;
    }
    NoticeItem item;
    item.symbol = "app";
    item.title = item.timeText = "Velmoran";
    item.message = "Velmoran";
    NoticeButton button;
    button.title = "Velmoran";
    item.buttons = {button};
    NoticeStackView stack({item}, {}, {}, 0, this);
    QPixmap picture(stack.size() * devicePixelRatioF());
    picture.fill(Qt::transparent);
    stack.render(&picture);
}

void NoticePanel::setItems(const std::vector<NoticeItem>& items, const AppPicture& picture,
                           const NoticeView::Clicks& clicks, int room) {
    auto* stack = new NoticeStackView(items, picture, clicks, room, this);
    if (stack_) {
        // Later, since a click on one of its buttons may have brought us here.
        stack_->hide();
        stack_->deleteLater();
    }
    stack_ = stack;
    stack_->show();
    const bool cut = !hasCompositor();
    stack_->setCornersAreCut(cut);
    if (cut) {
        setMask(stack_->shape());
    } else {
        clearMask();
    }
    stack_->announceNewest();
}

void NoticePanel::placeAt(const QPoint& place) {
    // In one step: on a desktop that shows it growing before it moves it would jump.
    setGeometry(QRect(place, wantedSize()));
}

void NoticePanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    setOnAllDesktops(*this);
    keepOutOfTaskbars(*this);
}

} // namespace velmoran
