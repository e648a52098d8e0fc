#include "app/shell/StatusItemController.h"

#include "app/shell/CurrentUse.h"
#include "app/shell/StatusIcons.h"
#include "app/shell/TrayInk.h"
#include "app/shell/X11Window.h"
#include "core/text/Localizer.h"

#include <QApplication>
#include <QCursor>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusServiceWatcher>
#include <QEvent>
#include <cstdio>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* trayService = "org.kde.StatusNotifierWatcher";
/// How long a desktop that is only just starting may take to bring up its tray.
constexpr int patienceMilliseconds = 5000;

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

bool hasStatusNotifierTray() {
    auto bus = QDBusConnection::sessionBus();
    return bus.isConnected() && bus.interface() &&
           bus.interface()->isServiceRegistered(QString::fromLatin1(trayService)).value();
}

} // namespace

StatusItemController::StatusItemController(AppModel& model, const Clock& clock, AppPicture picture,
                                           Actions actions)
    : model_(model),
      clock_(clock),
      noticePanel_(
          model.notices, [this] { return anchor(); }, std::move(picture)) {
    menu_.addAction(qt(words().text("What is on now")), this, [this] { showCards(); });
    menu_.addSeparator();
    menu_.addAction(qt(words().text("Quit Velmoran")), this, std::move(actions.quit));
    item_.setContextMenu(&menu_);
    connect(&item_, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger) {
                    lastClick_ = QCursor::pos();
                    togglePanel();
                }
            });
    qApp->installEventFilter(this);
    refreshIcon();
    modelChanges_ = model_.onChange.subscribe([this] { refreshIcon(); });
    dockWhenATrayIsThere();
}

StatusItemController::~StatusItemController() = default;

void StatusItemController::dockWhenATrayIsThere() {
    // Qt decides between the two kinds of tray at its first look, for good; a program that starts
    // before the desktop's panel would be left with the old kind.
    if (hasXembedTray() || hasStatusNotifierTray()) {
        dock();
        return;
    }
    if (QDBusConnection::sessionBus().isConnected()) {
        auto* watcher =
            new QDBusServiceWatcher(QString::fromLatin1(trayService), QDBusConnection::sessionBus(),
                                    QDBusServiceWatcher::WatchForRegistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { dock(); });
    }
    QTimer::singleShot(patienceMilliseconds, this, [this] {
        if (!docked_ && !hasXembedTray()) {
            std::fputs("velmoran: there is no tray on this desktop; cards appear at the top right "
                       "of the screen\n",
                       stderr);
        }
        dock();
    });
}

void StatusItemController::dock() {
    if (!docked_) {
        docked_ = true;
        redrawIcon();
        item_.show();
    }
}

void StatusItemController::refreshIcon() {
    const auto state = model_.statusIconState();
    if (shown_ == state) {
        return;
    }
    shown_ = state;
    item_.setIcon(statusIcon(state, currentTrayInk()));
    item_.setToolTip(qt(statusIconLabel(state)));
}

void StatusItemController::redrawIcon() {
    shown_.reset();
    refreshIcon();
}

bool StatusItemController::eventFilter(QObject* watched, QEvent* event) {
    // Somebody went from light to dark.
    if (watched == qApp && event->type() == QEvent::ApplicationPaletteChange) {
        redrawIcon();
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
    auto item = currentUseItem(*model_.openSessions, *model_.snapshot, *model_.historyUnavailable,
                               clock_.now());
    currentUse_ = item.id;
    model_.notices.show(std::move(item));
}

std::optional<QRect> StatusItemController::anchor() const {
    if (const auto place = item_.geometry(); !place.isEmpty()) {
        return place;
    }
    if (lastClick_) {
        return QRect(*lastClick_, QSize(1, 1));
    }
    return std::nullopt;
}

} // namespace velmoran
