// Runs the tests on a compositor of their own.
#include "app/shell/QtOnWayland.h"
#include "app/shell/layers/LayeredOverlays.h"
#include "integration/layers/Layers.h"
#include "support/Sway.h"

#include <QApplication>
#include <cstdio>
#include <optional>

namespace {
std::optional<velmoran::support::PrivateSession> session;
std::unique_ptr<velmoran::Overlays> overlays;
} // namespace

velmoran::support::PrivateSession& velmoran::layersSession() {
    return *session;
}

velmoran::Overlays& velmoran::layersOfTheDesktop() {
    return *overlays;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    session.emplace();
    try {
        session->startBus();
        velmoran::support::startSway(*session, velmoran::support::SwayWith::screens);
        // Before any client, which would else have to notice a mouse that comes later.
        const auto ready = [] {
            return session->child("hand")->output().starts_with("ready");
        };
        session->start("hand", {"/usr/bin/python3", WAYLAND_HAND, session->file("hand")});
        if (!velmoran::support::waitUntil(ready)) {
            std::fputs(session->logs().c_str(), stderr);
            return 1;
        }
    } catch (const velmoran::support::NotInstalled& missing) {
        std::printf("[  SKIPPED ] all: %s\n", missing.what());
        return 1;
    }
    session->enter();
    qputenv("QT_QPA_PLATFORM", "wayland");
    session->environment()["QT_QPA_PLATFORM"] = "wayland";
    velmoran::prepareQtForWayland();
    int result = 0;
    {
        QApplication app(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        velmoran::settleQtOnWayland();
        overlays = velmoran::layeredOverlays();
        if (!overlays) {
            std::fputs("this compositor has no layers\n", stderr);
            return 1;
        }
        result = RUN_ALL_TESTS();
        overlays.reset();
    }
    session.reset();
    return result;
}
