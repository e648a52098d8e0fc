#include "app/shell/tray/StatusItemController.h"

#include "app/shell/cards/NoticePlacing.h"
#include "app/shell/surface/X11Window.h"
#include "app/shell/tray/StatusIcons.h"
#include "app/shell/tray/TrayInk.h"
#include "core/text/Localizer.h"
#include "core/warnings/HistoryWording.h"

#include <QApplication>
#include <QCursor>
#include <QEvent>
#include <QScreen>
#include <cstdio>
#include <utility>

namespace velmoran {

namespace {

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

StatusItemController::StatusItemController(AppModel& model, const Clock& clock, AppPicture picture,
                                           Actions actions)
    : model_(model),
      clock_(clock),
      noticePanel_(
          model.notices, [this] { return anchor(); }, std::move(picture)) {
    makeMenu(std::move(actions));
    qApp->installEventFilter(this);
    watching_.push_back(model_.onChange.subscribe([this] {
        refreshIcon();
        if (model_.notices.items().empty()) {
            click_.reset();
        }
    }));
}

void StatusItemController::awaitTray() {
    arrival_ = std::make_unique<TrayArrival>([this](TrayArrival::Outcome outcome) {
        if (outcome != TrayArrival::Outcome::there) {
            std::fputs("velmoran: there is no tray on this desktop; cards appear at the top right "
                       "of the screen\n",
                       stderr);
        }
        // Made all the same where nobody hangs: it docks when a tray of the old kind comes.
        if (outcome != TrayArrival::Outcome::silent) {
            dock();
        }
    });
}

void StatusItemController::makeMenu(Actions actions) {
    menu_.addAction(qt(words().text("What is on now")), this, [this] { tellCurrentUse(); });
    stop_ = menu_.addAction(qt(words().text("Stop camera and microphone")), this,
                            std::move(actions.stopEverything));
    unmute_ = menu_.addAction(qt(words().text("Unmute microphone")), this,
                              [this] { model_.unmuteMicrophone(); });
    menu_.addSeparator();
    menu_.addAction(qt(words().text("Quit Velmoran")), this, std::move(actions.quit));
    const auto keepTrue = [this](const auto&) {
        keepCurrentUseTrue();
    };
    watching_.push_back(model_.isStopping.subscribe([this](bool) { refreshMenu(); }));
    watching_.push_back(model_.settings.microphoneMuted.subscribe([this](bool) {
        refreshMenu();
        refreshToolTip();
        keepCurrentUseTrue();
    }));
    watching_.push_back(model_.historyProblem.subscribe([this](const auto&) {
        refreshToolTip();
        keepCurrentUseTrue();
    }));
    watching_.push_back(model_.openSessions.subscribe(keepTrue));
    watching_.push_back(model_.snapshot.subscribe([this](const SystemSnapshot& reading) {
        if (std::exchange(shownUnwatched_, reading.unwatched) != reading.unwatched) {
            refreshToolTip();
        }
        keepCurrentUseTrue();
    }));
    refreshMenu();
}

void StatusItemController::refreshMenu() {
    // Also while nothing is on: it mutes the microphones, before anybody turns one on.
    stop_->setEnabled(!*model_.isStopping);
    unmute_->setVisible(*model_.settings.microphoneMuted);
}

void StatusItemController::dock() {
    if (item_) {
        return;
    }
    item_ = std::make_unique<QSystemTrayIcon>();
    item_->setContextMenu(&menu_);
    connect(item_.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                // Of two quick clicks the second comes as a double one.
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
                    noteClick();
                    togglePanel();
                }
            });
    refreshIcon();
    item_->show();
}

void StatusItemController::refreshIcon() {
    const auto state = model_.statusIconState();
    if (!item_ || shown_ == state) {
        return;
    }
    shown_ = state;
    item_->setIcon(statusIcon(state, currentTrayInk()));
    refreshToolTip();
}

/// Says first that the history isn't saved: no card does, and without one there are no cards. Says
/// last why nobody is heard, to somebody who doesn't remember the stop.
void StatusItemController::refreshToolTip() {
    if (!item_) {
        return;
    }
    QString text;
    if (const auto& problem = *model_.historyProblem) {
        text = qt(HistoryWording::sentence(*problem)) + '\n';
    }
    text += qt(statusIconLabel(model_.statusIconState(), model_.snapshot->unwatched));
    if (*model_.settings.microphoneMuted) {
        text += '\n' + qt(words().text("The microphone has been muted since a stop."));
    }
    item_->setToolTip(text);
}

bool StatusItemController::eventFilter(QObject* watched, QEvent* event) {
    // Somebody went from light to dark.
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        shown_.reset();
        refreshIcon();
        noticePanel_.redraw();
    }
    return QObject::eventFilter(watched, event);
}

void StatusItemController::togglePanel() {
    if (currentUse_ && model_.notices.item(*currentUse_)) {
        model_.notices.dismiss(*currentUse_);
    } else {
        showCards();
    }
}

void StatusItemController::showCards() {
    if (!model_.notices.items().empty()) {
        noticePanel_.raise();
        return;
    }
    tellCurrentUse();
}

void StatusItemController::tellCurrentUse() {
    shownUse_ = currentUse();
    auto item = currentUseItem(shownUse_, clock_.now(), [this] {
        if (currentUse_) {
            model_.notices.dismiss(*currentUse_);
        }
        model_.unmuteMicrophone();
    });
    if (currentUse_) {
        item.id = *currentUse_;
    }
    currentUse_ = item.id;
    model_.notices.show(std::move(item));
}

/// Without what the card doesn't speak of.
CurrentUse StatusItemController::currentUse() const {
    CurrentUse use;
    for (const auto& session : *model_.openSessions) {
        if (session.device != Device::speaker) {
            use.open.push_back(session);
            use.open.back().connections.clear();
        }
    }
    use.snapshot.cameraOn = model_.snapshot->cameraOn;
    use.snapshot.microphoneOn = model_.snapshot->microphoneOn;
    use.snapshot.unwatched = model_.snapshot->unwatched;
    use.historyProblem = *model_.historyProblem;
    use.microphoneMuted = *model_.settings.microphoneMuted;
    return use;
}

/// The card stays right while it is there: after a stop it would deny what the next card says.
void StatusItemController::keepCurrentUseTrue() {
    if (currentUse_ && model_.notices.item(*currentUse_) && currentUse() != shownUse_) {
        tellCurrentUse();
    }
}

std::optional<QRect> StatusItemController::anchor() const {
    if (const auto place = item_ ? item_->geometry() : QRect(); !place.isEmpty()) {
        return place;
    }
    return click_ ? std::optional(QRect(*click_, QSize(1, 1))) : std::nullopt;
}

/// A tray of the new kind tells nobody where its icons are, but where the mouse is now there is
/// one. That is good for the cards which this click brings, and no others: the next panel may be
/// elsewhere.
void StatusItemController::noteClick() {
    if (!model_.notices.items().empty() || !knowsTheMouse()) {
        return;
    }
    const auto mouse = QCursor::pos();
    const auto* screen = QGuiApplication::screenAt(mouse);
    if (screen && canBeOnTray(mouse, screen->geometry(), screen->availableGeometry())) {
        click_ = mouse;
    }
}

} // namespace velmoran
