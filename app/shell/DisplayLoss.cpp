#include "app/shell/DisplayLoss.h"

#include "app/bus/BusLink.h"

#include <QByteArray>
#include <QString>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <systemd/sd-login.h>
#include <utility>

namespace velmoran {

namespace {

std::function<void()> action;
// Qt says it on the thread that reads from a compositor and on the main one, and ends the process
// on either: the one that is second waits for what the first does about it.
std::recursive_mutex acting;
QtMessageHandler usualMessages = nullptr;

void listen(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    std::unique_lock lock(acting, std::defer_lock);
    if (tellsOfDisplayLoss(text.toStdString())) {
        lock.lock();
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

bool isLoginOver(const std::string& sessionBus) {
    if (!BusLink::open(sessionBus, {.lost = [] {
                       }})) {
        return true;
    }
    char* session = nullptr;
    if (::sd_pid_get_session(0, &session) < 0) {
        return false; // run by the user's manager, which ends it itself
    }
    const std::unique_ptr<char, decltype(&std::free)> name(session, &std::free);
    char* state = nullptr;
    if (::sd_session_get_state(session, &state) < 0) {
        return true;
    }
    const std::unique_ptr<char, decltype(&std::free)> word(state, &std::free);
    return std::string_view(state) == "closing";
}

void onDisplayLoss(std::function<void()> act) {
    action = std::move(act);
    usualMessages = qInstallMessageHandler(listen);
}

} // namespace velmoran
