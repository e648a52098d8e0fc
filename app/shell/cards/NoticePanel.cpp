#include "app/shell/cards/NoticePanel.h"

#include <QKeyEvent>
#include <QPixmap>
#include <QWindow>
#include <utility>

namespace velmoran {

NoticePanel::NoticePanel(Overlays& overlays) : OverlayPanel(QStringLiteral("notices"), overlays) {
    setWindowTitle(QStringLiteral("Velmoran"));
    surface().prepare();
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
    // Cards are made anew also when one goes or the colours change.
    std::map<Uuid, std::string> telling;
    for (const auto& item : items) {
        telling[item.id] = item.title + '\n' + item.message.value_or("");
        for (const auto& older : item.older) {
            telling[older] = told_[older]; // it may be the newest of its app again
        }
    }
    const auto& newest = items.back().id;
    isNews_ = isNews_ || !told_.contains(newest) || told_[newest] != telling[newest];
    told_ = std::move(telling);
    if (hasKeyboard_ && stack_->newest()) {
        stack_->newest()->takeFocus();
    }
}

void NoticePanel::showAt(const QPoint& place) {
    const bool cut = !overlays().blends();
    stack_->setCornersAreCut(cut);
    present(QRect(place, wantedSize()), stack_->shape(), cut);
    if (std::exchange(isNews_, false)) {
        announce(*stack_->newest());
    }
}

void NoticePanel::takeKeyboard() {
    if (!isVisible() || !windowHandle() || !stack_->newest()) {
        return;
    }
    hasKeyboard_ = true;
    surface().takeKeyboard();
    stack_->newest()->takeFocus();
}

void NoticePanel::giveKeyboardBack() {
    if (!hasKeyboard_) {
        return;
    }
    hasKeyboard_ = false;
    surface().giveKeyboardBack();
}

bool NoticePanel::event(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        lettersChanged();
    }
    if (event->type() == QEvent::WindowDeactivate && hasKeyboard_) {
        // Somebody else has it already.
        hasKeyboard_ = false;
        surface().noteKeyboardGone();
    }
    return OverlayPanel::event(event);
}

void NoticePanel::hideEvent(QHideEvent* event) {
    giveKeyboardBack();
    told_.clear();
    OverlayPanel::hideEvent(event);
}

void NoticePanel::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Cancel)) {
        giveKeyboardBack();
        return;
    }
    OverlayPanel::keyPressEvent(event);
}

} // namespace velmoran
