#include "app/shell/DisplayLoss.h"

#include <QByteArray>
#include <QString>
#include <utility>

namespace velmoran {

namespace {

std::function<void()> action;
QtMessageHandler usualMessages = nullptr;

void listen(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    if (tellsOfDisplayLoss(text.toStdString())) {
        if (const auto act = std::exchange(action, nullptr)) {
            act();
        }
    }
    usualMessages(type, context, text);
}

} // namespace

bool tellsOfDisplayLoss(std::string_view words) {
    return words.starts_with("The Wayland connection ") ||
           words.starts_with("The X11 connection broke");
}

void onDisplayLoss(std::function<void()> act) {
    action = std::move(act);
    usualMessages = qInstallMessageHandler(listen);
}

} // namespace velmoran
