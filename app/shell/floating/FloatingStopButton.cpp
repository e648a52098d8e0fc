#include "app/shell/floating/FloatingStopButton.h"

#include "core/text/Localizer.h"

#include <QEvent>
#include <utility>

namespace velmoran {

FloatingStopButton::FloatingStopButton(AppModel& model, Scheduler& scheduler,
                                       std::function<void()> press, Overlays& overlays)
    : model_(model),
      scheduler_(scheduler),
      overlays_(overlays),
      press_(std::move(press)) {
    const auto again = [this](const auto&) {
        refresh();
    };
    watching_.push_back(model_.settings.floatingStopButton.subscribe(again));
    watching_.push_back(model_.settings.floatingStopPlace.subscribe(again));
    watching_.push_back(model_.snapshot.subscribe(again));
    watching_.push_back(model_.isStopping.subscribe(again));
    refresh();
}

std::string FloatingStopButton::label(const SystemSnapshot& snapshot) {
    if (snapshot.cameraOn && snapshot.microphoneOn) {
        return words().text("Stop camera and microphone");
    }
    if (snapshot.cameraOn) {
        return words().text("Stop camera");
    }
    return snapshot.microphoneOn ? words().text("Stop microphone") : std::string();
}

QRect FloatingStopButton::frame() const {
    constexpr int margin = FloatingStopView::margin;
    const bool isThere = visible_ && panel_ && panel_->isPresented();
    return isThere ? panel_->frame().adjusted(margin, margin, -margin, -margin) : QRect();
}

void FloatingStopButton::refresh() {
    const auto& snapshot = *model_.snapshot;
    if (*model_.settings.floatingStopButton && (snapshot.cameraOn || snapshot.microphoneOn)) {
        if (!std::exchange(visible_, true)) {
            startLabelTimer(labelTime);
        }
        layOut();
        return;
    }
    visible_ = false;
    hovering_ = false;
    collapse_ = {};
    if (panel_) {
        panel_->takeAway();
    }
}

void FloatingStopButton::startLabelTimer(Seconds seconds) {
    expanded_ = true;
    collapse_ = scheduler_.after(seconds, [this] {
        if (visible_ && !hovering_) {
            expanded_ = false;
            layOut();
        }
    });
}

void FloatingStopButton::hover(bool inside) {
    if (!visible_) {
        return;
    }
    hovering_ = inside;
    if (!inside) {
        startLabelTimer(labelTimeAfter);
        return;
    }
    collapse_ = {};
    if (!std::exchange(expanded_, true)) {
        layOut();
    }
}

void FloatingStopButton::layOut() {
    if (!visible_) {
        return;
    }
    if (!panel_) {
        makePanel();
    }
    // The hand that holds it decides where it is; it is laid out when that lets it go.
    if (panel_->mouse().dragged()) {
        return;
    }
    FloatingStopView::Content content;
    content.label = QString::fromStdString(label(*model_.snapshot));
    content.expanded = expanded_;
    content.stopping = *model_.isStopping;
    const auto layout = floatingStopLayout(*model_.settings.floatingStopPlace,
                                           panel_->view().fittingSize(content), overlays_.areas());
    content.iconAtRight = layout.growsLeft;
    panel_->showAt(layout.frame, content);
}

void FloatingStopButton::savePlace() {
    model_.settings.floatingStopPlace.set(floatingStopPlace(panel_->frame(), overlays_.areas()));
    // Also where that is the place it had before: it may have been dragged over the edge.
    layOut();
}

void FloatingStopButton::makePanel() {
    panel_ = std::make_unique<FloatingPanel>(overlays_);
    panel_->mouse().onClick = [this] {
        press_();
    };
    panel_->mouse().onMoved = [this] {
        savePlace();
    };
    panel_->mouse().onHover = [this](bool inside) {
        hover(inside);
    };
    panel_->onLost = [this] {
        onLost();
    };
    panel_->installEventFilter(this);
}

bool FloatingStopButton::eventFilter(QObject* watched, QEvent* event) {
    // Another size of the letters wants another size of the button.
    if (event->type() == QEvent::FontChange) {
        layOut();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace velmoran
