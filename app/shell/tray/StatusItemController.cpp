#include "app/shell/tray/StatusItemController.h"

#include "app/shell/cards/NoticePlacing.h"
#include "app/shell/surface/X11Window.h"
#include "app/shell/tray/StatusIcons.h"
#include "app/shell/tray/TrayInk.h"
#include "core/text/Localizer.h"
#include "core/warnings/HistoryWording.h"

#include <QApplication>
#include <QCursor>
#include <QDBusConnection>
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

StatusItemController::StatusItemController(AppModel& model, AppPicture picture, Actions actions,
                                           Overlays* overlays, std::string desktop)
    : model_(model),
      actions_(std::move(actions)),
      desktop_(std::move(desktop)),
      hasOverlays_(overlays != nullptr),
      overlays_(overlays ? *overlays : placedOverlays()) {
    if (overlays) {
        noticePanel_ = std::make_unique<NoticePanelController>(
            model.notices, [this] { return place(); }, std::move(picture), *overlays);
        noticePanel_->openPanel = [this] {
            return panel_ ? panel_->place() : QRect();
        };
    }
    makeMenu();
    qApp->installEventFilter(this);
    stranded_.setSingleShot(true);
    stranded_.setInterval(trayPatienceMilliseconds);
    connect(&stranded_, &QTimer::timeout, this, [this] {
        if (isStranded() && onStranded) {
            onStranded();
        }
    });
    watching_.push_back(model_.onChange.subscribe([this] {
        refreshIcon();
        refreshMenu();
        const auto listeners = model_.onlyListeners();
        if (std::exchange(listeners_, listeners) != listeners) {
            refreshToolTip();
        }
    }));
    watching_.push_back(model_.openSessions.subscribe([this](const auto&) { refreshToolTip(); }));
}

void StatusItemController::awaitTray() {
    arrival_ = std::make_unique<TrayArrival>([this](TrayArrival::Outcome outcome) {
        if (outcome != TrayArrival::Outcome::there) {
            std::fprintf(stderr, "velmoran: there is no tray on this desktop%s\n",
                         noticePanel_ ? "; cards appear at the top right of the screen" : "");
        }
        if (outcome == TrayArrival::Outcome::there) {
            dock();
        }
    });
    arrival_->onChange = [this] {
        shown_.reset(); // another tray may have another colour
        refreshIcon();
        const bool isAway = isStranded();
        wasReached_ = wasReached_ || !isAway;
        if (isAway && wasReached_) {
            stranded_.start();
        } else if (!isAway) {
            stranded_.stop();
            if (onReached) {
                onReached();
            }
        }
    };
}

/// The icon is in no tray while one of the other kind is there.
bool StatusItemController::isStranded() const {
    if (!item_ || !arrival_) {
        return false;
    }
    return isNotifierItem() ? !arrival_->hasNotifierHost() && hasXembedTray()
                            : arrival_->hasNotifierHost() && !hasXembedTray();
}

/// As Qt has chosen: for an item of the new kind it has a connection of that name to the bus.
bool StatusItemController::isNotifierItem() {
    return QDBusConnection(QStringLiteral("org.kde.StatusNotifierItem-%1-1")
                               .arg(QCoreApplication::applicationPid()))
        .isConnected();
}

void StatusItemController::makeMenu() {
    const auto add = [this](const std::string& title, const std::function<void()>& action) {
        return menu_.addAction(qt(title), this, action);
    };
    // Some trays open the menu alone, whatever is clicked.
    add(words().text("Show Velmoran"), actions_.showMain);
    newest_ = add(words().text("Go to the newest notice"), [this] {
        if (noticePanel_) {
            noticePanel_->takeKeyboard();
        }
    });
    menu_.addSeparator();
    stop_ = add(words().text("Stop camera and microphone"), actions_.stopEverything);
    unmute_ = add(words().text("Unmute microphone"), [this] { model_.unmuteMicrophone(); });
    menu_.addSeparator();
    add(words().text("History"), actions_.showHistory);
    add(words().text("Settings"), actions_.showSettings);
    menu_.addSeparator();
    add(words().text("Quit Velmoran"), actions_.quit);
    watching_.push_back(model_.isStopping.subscribe([this](bool) { refreshMenu(); }));
    watching_.push_back(model_.settings.microphoneMuted.subscribe([this](bool) {
        refreshMenu();
        refreshToolTip();
    }));
    watching_.push_back(model_.historyProblem.subscribe([this](const auto&) { refreshToolTip(); }));
    watching_.push_back(model_.snapshot.subscribe([this](const SystemSnapshot& reading) {
        if (std::exchange(shownUnwatched_, reading.unwatched) != reading.unwatched) {
            refreshToolTip();
        }
    }));
    refreshMenu();
}

void StatusItemController::refreshMenu() {
    // Also while nothing is on: it mutes the microphones, before anybody turns one on.
    stop_->setEnabled(!*model_.isStopping);
    unmute_->setVisible(*model_.settings.microphoneMuted);
    newest_->setVisible(noticePanel_ && !model_.notices.items().empty());
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
    wasReached_ = !isStranded();
}

void StatusItemController::refreshIcon() {
    const auto state = model_.statusIconState();
    if (!item_ || shown_ == state) {
        return;
    }
    shown_ = state;
    item_->setIcon(statusIcon(state, currentTrayInk(desktop_)));
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
    // A camera that is on belongs to somebody, known or not.
    const bool meterAlone = !model_.snapshot->cameraOn;
    text += qt(statusIconLabel(model_.statusIconState(), model_.snapshot->unwatched,
                               *model_.openSessions,
                               meterAlone ? listeners_ : std::vector<AppIdentity>()));
    if (*model_.settings.microphoneMuted) {
        text += '\n' + qt(words().text("The microphone has been muted since a stop."));
    }
    if (item_->toolTip() != text) {
        item_->setToolTip(text);
    }
}

bool StatusItemController::eventFilter(QObject* watched, QEvent* event) {
    // Somebody went from light to dark.
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        shown_.reset();
        refreshIcon();
        redrawCards();
    }
    return QObject::eventFilter(watched, event);
}

void StatusItemController::redrawCards() {
    if (noticePanel_) {
        noticePanel_->redraw();
    }
}

void StatusItemController::togglePanel() {
    if (!hasOverlays_) {
        actions_.showMain();
        return;
    }
    if (panel_ && (panel_->isVisible() || panel_->wentByThatClick())) {
        panel_->close();
        return;
    }
    if (!panel_) {
        panel_ = std::make_unique<PanelPopover>(
            [this] {
                const auto known = place();
                return known || !click_ ? known : std::optional(QRect(*click_, QSize(1, 1)));
            },
            overlays_);
        panel_->onLost = [this] {
            actions_.showMain();
        };
        panel_->onMoved = [this] {
            redrawCards();
        };
        panel_->onHidden = [this] {
            redrawCards();
            if (onPanelClosed) {
                onPanelClosed();
            }
        };
    }
    if (auto content = actions_.makePanel([this] { panel_->close(); })) {
        panel_->open(std::move(content));
    }
}

void StatusItemController::layOut() {
    redrawCards();
    if (panel_) {
        panel_->layOut();
    }
}

/// Nothing where the tray doesn't tell.
std::optional<QRect> StatusItemController::place() const {
    const auto place = item_ ? item_->geometry() : QRect();
    return place.isEmpty() ? std::nullopt : std::optional(place);
}

/// A tray of the new kind tells nobody where its icons are, but where the mouse is now there is
/// one. That is good for the panel which this click brings.
void StatusItemController::noteClick() {
    click_.reset();
    if (!knowsTheMouse()) {
        return;
    }
    const auto mouse = QCursor::pos();
    const auto* screen = QGuiApplication::screenAt(mouse);
    if (screen && canBeOnTray(mouse, screen->geometry(), screen->availableGeometry())) {
        click_ = mouse;
    }
}

} // namespace velmoran
