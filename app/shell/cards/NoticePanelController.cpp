#include "app/shell/cards/NoticePanelController.h"

#include "app/shell/cards/NoticePlacing.h"

#include <QTimer>
#include <chrono>
#include <utility>

namespace velmoran {

namespace {
constexpr std::chrono::milliseconds warmUpDelay(400);
constexpr int padding = NoticeStackView::padding;

QRect visibleAround(const std::optional<QRect>& anchor, const Overlays& overlays) {
    if (anchor) {
        return overlays.areaAt(anchor->center()).visible;
    }
    const auto areas = overlays.areas();
    return areas.empty() ? QRect() : areas.front().visible;
}
} // namespace

NoticePanelController::NoticePanelController(NoticeCenter& notices,
                                             std::function<std::optional<QRect>()> anchor,
                                             AppPicture picture, Overlays& overlays)
    : overlays_(overlays),
      anchor_(std::move(anchor)),
      picture_(std::move(picture)),
      panel_(overlays),
      notices_(notices, [this] { update(); }) {
    // Later, when all has them.
    panel_.lettersChanged = [this] {
        QTimer::singleShot(0, &panel_, [this] { redraw(); });
    };
    panel_.onLost = [this] {
        isLost_ = true;
        onLost();
    };
    // After the start, which it would only hold up.
    QTimer::singleShot(warmUpDelay, &panel_, [this] { panel_.warmUp(); });
}

void NoticePanelController::raise() {
    if (panel_.isPresented()) {
        panel_.bringToFront();
    }
}

void NoticePanelController::redraw() {
    if (panel_.isPresented()) {
        update();
    }
}

void NoticePanelController::update() {
    if (isLost_) {
        return;
    }
    shown_ = notices_.items();
    if (shown_.empty()) {
        panel_.takeAway();
        return;
    }
    const auto anchor = anchor_();
    const auto visible = visibleAround(anchor, overlays_);
    auto blocked = obstacle ? obstacle() : QRect();
    auto cards = arrange(visible, anchor, noticePanelRoom(visible, anchor));
    const auto beside = openPanel ? openPanel() : QRect();
    const int aside = noticeShiftBeside(visible, cards, beside);
    cards.translate(aside, 0);
    if (cards.intersects(beside)) {
        blocked = beside;
    }
    int by = noticeClearance(visible, cards, blocked);
    if (by == 0 && cards.intersects(blocked)) {
        // What it covers could be neither read nor closed, so fewer cards are better.
        cards = arrange(visible, anchor, noticeRoomBeside(visible, anchor, blocked, padding))
                    .translated(aside, 0);
        by = noticeClearance(visible, cards, blocked);
    }
    panel_.showAt(cards.topLeft() + QPoint(-padding, by - padding));
}

QRect NoticePanelController::arrange(const QRect& visible, const std::optional<QRect>& anchor,
                                     int room) {
    panel_.setItems(
        shown_, picture_,
        {.press = [this](const Uuid& item, const Uuid& button) { notices_.press(item, button); },
         .close =
             [this](const Uuid& item) {
                 notices_.close(item);
             }},
        room);
    const auto size = panel_.wantedSize();
    return QRect(noticePanelPlace(visible, anchor, size), size)
        .adjusted(padding, padding, -padding, -padding);
}

} // namespace velmoran
