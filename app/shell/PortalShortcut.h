// The stop shortcut as a desktop gives it that hands out keys itself: through the interface
// org.freedesktop.portal.GlobalShortcuts of the desktop portal. The desktop may ask its user, and
// may give other keys than were asked for. Exists while the shortcut is on; owned by it. Main
// thread.
#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QVariantMap>
#include <functional>

namespace velmoran {

class PortalShortcut final : public QObject {
    Q_OBJECT

public:
    /// `pressed` runs once for each press. `refused` runs when the desktop's answer is no, or the
    /// portal goes away.
    PortalShortcut(std::function<void()> pressed, std::function<void()> refused);
    /// Gives the shortcut back.
    ~PortalShortcut() override;

    /// False where there is no portal. The desktop's own answer comes later.
    [[nodiscard]] bool ask();

private Q_SLOTS:
    void sessionCame(uint response, const QVariantMap& results);
    void shortcutsCame(uint response, const QVariantMap& results);
    void activated(const QDBusMessage& signal);

private:
    void createSession();
    void bindShortcut();
    void refuse();
    /// Calls that, with the answer expected in `slot` under a path made of `token`.
    void request(const QDBusMessage& call, const QString& token, const char* slot);
    QString newToken();

    std::function<void()> pressed_;
    std::function<void()> refused_;
    QString session_;
    int requests_ = 0;
};

} // namespace velmoran
