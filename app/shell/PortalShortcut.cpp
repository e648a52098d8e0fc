#include "app/shell/PortalShortcut.h"

#include "core/text/Localizer.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QList>
#include <utility>

namespace velmoran {

/// One entry of what BindShortcuts takes: its name and its properties.
struct PortalShortcutEntry {
    QString name;
    QVariantMap properties;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcutEntry& entry) {
    argument.beginStructure();
    argument << entry.name << entry.properties;
    argument.endStructure();
    return argument;
}

static const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcutEntry& entry) {
    argument.beginStructure();
    argument >> entry.name >> entry.properties;
    argument.endStructure();
    return argument;
}

} // namespace velmoran

Q_DECLARE_METATYPE(velmoran::PortalShortcutEntry)

namespace velmoran {

namespace {

const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
const QString desktopPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString stopName = QStringLiteral("stop");
/// In the way in which the portals write keys.
const QString stopTrigger = QStringLiteral("CTRL+ALT+LOGO+period");

QDBusMessage callOf(const QString& method) {
    return QDBusMessage::createMethodCall(service, desktopPath, shortcutsInterface, method);
}

} // namespace

PortalShortcut::PortalShortcut(std::function<void()> pressed, std::function<void()> refused)
    : pressed_(std::move(pressed)),
      refused_(std::move(refused)) {}

PortalShortcut::~PortalShortcut() {
    if (!session_.isEmpty()) {
        QDBusConnection::sessionBus().send(QDBusMessage::createMethodCall(
            service, session_, sessionInterface, QStringLiteral("Close")));
    }
}

bool PortalShortcut::ask() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return false;
    }
    auto* names = bus.interface();
    if (!names->isServiceRegistered(service).value() &&
        !names->activatableServiceNames().value().contains(service)) {
        return false;
    }
    auto* watcher =
        new QDBusServiceWatcher(service, bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &PortalShortcut::refuse);
    bus.connect(service, desktopPath, shortcutsInterface, QStringLiteral("Activated"), this,
                SLOT(activated(QDBusMessage)));
    createSession();
    return true;
}

QString PortalShortcut::newToken() {
    return QStringLiteral("velmoran%1_%2")
        .arg(reinterpret_cast<quintptr>(this), 0, 16)
        .arg(++requests_);
}

void PortalShortcut::request(const QDBusMessage& call, const QString& token, const char* slot) {
    auto bus = QDBusConnection::sessionBus();
    // The answer may come before the call returns, so it is listened for first; its path is made of
    // the caller's name on the bus and the token.
    const auto sender = bus.baseService().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
    const auto path = QStringLiteral("%1/request/%2/%3").arg(desktopPath, sender, token);
    bus.connect(service, path, requestInterface, QStringLiteral("Response"), this, slot);
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* finished) {
                const QDBusPendingReply<QDBusObjectPath> reply = *finished;
                finished->deleteLater();
                if (reply.isError()) {
                    refuse();
                }
            });
}

void PortalShortcut::createSession() {
    const auto token = newToken();
    auto call = callOf(QStringLiteral("CreateSession"));
    call << QVariantMap{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("session_handle_token"), newToken()}};
    request(call, token, SLOT(sessionCame(uint, QVariantMap)));
}

void PortalShortcut::sessionCame(uint response, const QVariantMap& results) {
    session_ = results.value(QStringLiteral("session_handle")).toString();
    if (response != 0 || session_.isEmpty()) {
        session_.clear();
        refuse();
        return;
    }
    bindShortcut();
}

void PortalShortcut::bindShortcut() {
    qDBusRegisterMetaType<PortalShortcutEntry>();
    qDBusRegisterMetaType<QList<PortalShortcutEntry>>();
    const QList<PortalShortcutEntry> entries{
        {stopName,
         {{QStringLiteral("description"),
           QString::fromStdString(words().text("Stop camera and microphone"))},
          {QStringLiteral("preferred_trigger"), stopTrigger}}}};
    const auto token = newToken();
    auto call = callOf(QStringLiteral("BindShortcuts"));
    call << QVariant::fromValue(QDBusObjectPath(session_)) << QVariant::fromValue(entries)
         << QString() << QVariantMap{{QStringLiteral("handle_token"), token}};
    request(call, token, SLOT(shortcutsCame(uint, QVariantMap)));
}

void PortalShortcut::shortcutsCame(uint response, const QVariantMap&) {
    if (response != 0) {
        refuse();
    }
}

void PortalShortcut::activated(const QDBusMessage& signal) {
    const auto values = signal.arguments();
    if (session_.isEmpty() || values.size() < 2 ||
        values[0].value<QDBusObjectPath>().path() != session_ || values[1].toString() != stopName) {
        return;
    }
    // A copy, since the press may switch the shortcut off.
    const auto run = pressed_;
    run();
}

void PortalShortcut::refuse() {
    if (const auto refused = std::exchange(refused_, nullptr)) {
        refused();
    }
}

} // namespace velmoran
