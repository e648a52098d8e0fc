#include "app/shell/tray/TrayArrival.h"

#include "app/shell/surface/X11Window.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QTimer>
#include <utility>

namespace velmoran {

namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");

} // namespace

TrayArrival::TrayArrival(std::function<void(Outcome)> arrived)
    : arrived_(std::move(arrived)),
      x11_([this] { look(); }) {
    if (hasXembedTray()) {
        arrive();
    }
    listenToBus();
    if (!arrived_) {
        return;
    }
    QTimer::singleShot(patienceMilliseconds, this, [this] {
        if (arrived_) {
            // An icon that is made while somebody doesn't answer would ask the same, and wait.
            arrived_(unanswered_ == 0 ? Outcome::noneInTime : Outcome::silent);
        }
    });
}

void TrayArrival::listenToBus() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return;
    }
    auto* watcher =
        new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayArrival::ask);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this,
            [this] { setNotifierHost(false); });
    for (const char* signal : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        bus.connect(service, path, service, QLatin1String(signal), this, SLOT(ask()));
    }
    ask();
}

void TrayArrival::ask() {
    auto message = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message << service << QStringLiteral("IsStatusNotifierHostRegistered");
    message.setAutoStartService(false);
    ++unanswered_;
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(message), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                const QDBusPendingReply<QDBusVariant> reply = *finished;
                finished->deleteLater();
                --unanswered_;
                setNotifierHost(reply.isValid() && reply.value().variant().toBool());
            });
}

void TrayArrival::setNotifierHost(bool isThere) {
    if (std::exchange(hasNotifierHost_, isThere) != isThere) {
        look();
    }
}

void TrayArrival::look() {
    if (arrived_ && (hasNotifierHost_ || hasXembedTray())) {
        arrive();
    } else if (!arrived_ && onChange) {
        onChange();
    }
}

void TrayArrival::arrive() {
    const auto arrived = std::exchange(arrived_, nullptr);
    arrived(Outcome::there);
}

} // namespace velmoran
