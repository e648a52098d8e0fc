#include "app/shell/cards/NoticePanel.h"

#include "app/shell/surface/X11Window.h"

#include <QPixmap>
#include <QWindow>

namespace velmoran {

NoticePanel::NoticePanel() : OverlayPanel(QStringLiteral("notices")) {
    setWindowTitle(QStringLiteral("Velmoran"));
    winId();
    if (windowHandle()) {
        windowHandle()->create();
    }
}

void NoticePanel::warmUp() {
    if (stack_) {
        return;
    }
    NoticeItem item;
    item.symbol = "app";
    item.title = item.timeText = "Velmoran";
    item.message = "Velmoran";
    item.buttons = {{.title = "Velmoran", .action = {}}};
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
    stack_->announceNewest();
}

void NoticePanel::showAt(const QPoint& place) {
    const bool cut = !hasCompositor();
    stack_->setCornersAreCut(cut);
    present(QRect(place, wantedSize()), stack_->shape(), cut);
}

} // namespace velmoran
