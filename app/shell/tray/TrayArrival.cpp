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

TrayArrival::TrayArrival(std::function<void(Outcome)> arrived) : arrived_(std::move(arrived)) {
    if (hasXembedTray()) {
        end(Outcome::there);
        return;
    }
    auto bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        auto* watcher =
            new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForRegistration, this);
        connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, &TrayArrival::ask);
        bus.connect(service, path, service, QStringLiteral("StatusNotifierHostRegistered"), this,
                    SLOT(ask()));
        ask();
    }
    QTimer::singleShot(patienceMilliseconds, this, [this] {
        if (hasXembedTray()) {
            end(Outcome::there);
        } else if (unanswered_ == 0) {
            end(Outcome::noneInTime);
        } else if (arrived_) {
            // An icon that is made now would ask the same, and wait for it.
            arrived_(Outcome::silent);
        }
    });
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
                if (reply.isValid() && reply.value().variant().toBool()) {
                    end(Outcome::there);
                }
            });
}

void TrayArrival::end(Outcome outcome) {
    if (const auto arrived = std::exchange(arrived_, nullptr)) {
        arrived(outcome);
    }
}

} // namespace velmoran
