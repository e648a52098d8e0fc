#include "app/shell/NoticePanelController.h"

#include "app/shell/NoticePlacing.h"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace velmoran {

NoticePanelController::NoticePanelController(NoticeCenter& notices,
                                             std::function<std::optional<QRect>()> anchor,
                                             AppPicture picture)
    : notices_(notices),
      anchor_(std::move(anchor)),
      picture_(std::move(picture)) {
    notices_.onChange = [this] {
        update();
    };
    panel_.prepare();
}

NoticePanelController::~NoticePanelController() {
    notices_.onChange = nullptr;
}

void NoticePanelController::raise() {
    if (panel_.isVisible()) {
        panel_.raise();
    }
}

void NoticePanelController::update() {
    if (notices_.items().empty()) {
        panel_.hide();
        return;
    }
    panel_.setItems(
        notices_.items(), picture_,
        {.press = [this](const Uuid& item, const Uuid& button) { notices_.press(item, button); },
         .close =
             [this](const Uuid& item) {
                 notices_.close(item);
             }});
    place();
    panel_.show();
    panel_.raise();
}

void NoticePanelController::place() {
    const auto anchor = anchor_();
    const QScreen* screen = anchor ? QGuiApplication::screenAt(anchor->center()) : nullptr;
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    const QRect visible = screen ? screen->availableGeometry() : QRect();
    panel_.move(noticePanelPlace(visible, anchor, panel_.size()));
}

} // namespace velmoran
