// The desktop's wish for less motion; wantsLessMotion() is declared in Groups.h.
#include "app/controls/Groups.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QStyle>

namespace velmoran {

namespace {

/// What the settings portal has said. On the main thread, as long as the program.
struct PortalWish {
    bool isAsked = false;
    bool reducedMotion = false;
    bool noAnimations = false;
};

PortalWish& portalWish() {
    static PortalWish wish;
    return wish;
}

void askPortal(const char* group, const char* key, auto store) {
    auto call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.portal.Desktop"),
                                               QStringLiteral("/org/freedesktop/portal/desktop"),
                                               QStringLiteral("org.freedesktop.portal.Settings"),
                                               QStringLiteral("Read"));
    call << QString::fromLatin1(group) << QString::fromLatin1(key);
    call.setAutoStartService(false); // no reason to start one
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), qApp);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, store] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (reply.isValid()) {
            // "Read" wraps the value twice.
            auto value = reply.value().variant();
            if (value.canConvert<QDBusVariant>()) {
                value = value.value<QDBusVariant>().variant();
            }
            store(value);
        }
        watcher->deleteLater();
    });
}

} // namespace

bool wantsLessMotion() {
    auto& wish = portalWish();
    if (!wish.isAsked && QDBusConnection::sessionBus().isConnected()) {
        wish.isAsked = true;
        askPortal("org.freedesktop.appearance", "reduced-motion",
                  [](const QVariant& value) { portalWish().reducedMotion = value.toUInt() == 1; });
        askPortal("org.gnome.desktop.interface", "enable-animations", [](const QVariant& value) {
            portalWish().noAnimations = value.userType() == QMetaType::Bool && !value.toBool();
        });
    }
    return wish.reducedMotion || wish.noAnimations ||
           QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) == 0;
}

} // namespace velmoran
