#include "app/shell/tray/TrayInk.h"

#include "app/look/ScreenColors.h"
#include "app/shell/surface/X11Window.h"

#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <array>

namespace velmoran {

namespace {

constexpr QColor onDark(0xf2, 0xf2, 0xf2);
/// Of a graphic that carries meaning, on its ground.
constexpr double leastContrast = 3;

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

IconInk outlined(const QColor& ink) {
    const QColor opaque(ink.rgb());
    const bool isLight = contrast(opaque, Qt::black) >= contrast(opaque, Qt::white);
    const QColor outline = isLight ? Qt::black : Qt::white;
    // The ground that is worst for both lies midway between them, by their ratio.
    if (contrast(opaque, outline) >= leastContrast * leastContrast) {
        return {.ink = opaque, .outline = outline};
    }
    return {.ink = isLight ? Qt::white : Qt::black, .outline = outline};
}

IconInk currentTrayInk(std::string_view desktop) {
    return outlined(trayInk(xembedTrayForeground(), desktop,
                            QGuiApplication::palette().color(QPalette::WindowText)));
}

} // namespace velmoran
