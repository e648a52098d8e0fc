#include "app/shell/QtOnWayland.h"

#include <QByteArray>
#include <QString>
#include <QWidget>

namespace velmoran {

namespace {

constexpr const char* buffers = "QT_WAYLAND_CLIENT_BUFFER_INTEGRATION";
constexpr const char* noRoles = "QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT";
QtMessageHandler usual = nullptr;
bool isOurChoice = false;

/// Qt says that it misses what it was told to leave out.
void withoutThat(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (!text.contains(QLatin1String("client buffer integration"))) {
        usual(type, context, text);
    }
}

} // namespace

void prepareQtForWayland() {
    qputenv(noRoles, "1");
    isOurChoice = qEnvironmentVariableIsEmpty(buffers);
    if (isOurChoice) {
        qputenv(buffers, "none");
    }
}

void settleQtOnWayland() {
    if (!isOurChoice) {
        return;
    }
    usual = qInstallMessageHandler(withoutThat);
    // With the first window that is shown it decides. This one gets no role, so nobody sees it.
    QWidget first(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    first.setAttribute(Qt::WA_ShowWithoutActivating);
    first.setAttribute(Qt::WA_QuitOnClose, false);
    first.resize(1, 1);
    first.show();
    first.hide();
    qInstallMessageHandler(usual);
    qunsetenv(buffers);
}

void withoutQtsWishes(const std::function<void()>& start) {
    const bool isSet = qEnvironmentVariableIsSet(noRoles);
    const auto wish = qgetenv(noRoles);
    qunsetenv(noRoles);
    start();
    if (isSet) {
        qputenv(noRoles, wish);
    }
}

} // namespace velmoran
