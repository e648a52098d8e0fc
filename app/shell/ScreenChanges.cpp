#include "app/shell/ScreenChanges.h"

#include <QGuiApplication>
#include <QScreen>
#include <utility>

namespace velmoran {

ScreenChanges::ScreenChanges(std::function<void()> changed) {
    // One change comes as several, and a screen that goes is still among the others when it says
    // so.
    later_.setSingleShot(true);
    later_.setInterval(0);
    connect(&later_, &QTimer::timeout, this, std::move(changed));
    for (const auto* screen : QGuiApplication::screens()) {
        watch(screen);
    }
    connect(qGuiApp, &QGuiApplication::screenAdded, this, [this](const QScreen* screen) {
        watch(screen);
        note();
    });
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, &ScreenChanges::note);
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &ScreenChanges::note);
}

void ScreenChanges::watch(const QScreen* screen) {
    connect(screen, &QScreen::geometryChanged, this, &ScreenChanges::note);
    connect(screen, &QScreen::availableGeometryChanged, this, &ScreenChanges::note);
    connect(screen, &QScreen::logicalDotsPerInchChanged, this, &ScreenChanges::note);
    connect(screen, &QScreen::physicalDotsPerInchChanged, this, &ScreenChanges::note);
}

} // namespace velmoran
