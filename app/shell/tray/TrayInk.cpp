#include "app/shell/tray/TrayInk.h"

#include "app/shell/surface/X11Window.h"

#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <array>

namespace velmoran {

namespace {

constexpr QColor onDark(0xf2, 0xf2, 0xf2);

/// As the desktops call themselves in XDG_CURRENT_DESKTOP.
constexpr std::array<std::string_view, 4> withDarkBars = {"GNOME", "Unity", "Pantheon", "Budgie"};

} // namespace

QColor trayInk(std::optional<QColor> foreground, std::string_view desktop,
               const QColor& windowText) {
    if (foreground) {
        return *foreground;
    }
    while (!desktop.empty()) {
        const auto name = desktop.substr(0, desktop.find(':'));
        if (std::find(withDarkBars.begin(), withDarkBars.end(), name) != withDarkBars.end()) {
            return onDark;
        }
        desktop.remove_prefix(std::min(name.size() + 1, desktop.size()));
    }
    return windowText;
}

QColor currentTrayInk() {
    return trayInk(xembedTrayForeground(), qgetenv("XDG_CURRENT_DESKTOP").toStdString(),
                   QGuiApplication::palette().color(QPalette::WindowText));
}

} // namespace velmoran
