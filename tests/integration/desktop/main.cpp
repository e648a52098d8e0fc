// Runs the tests on a desktop of their own.
#include "integration/desktop/Desktop.h"

#include <QApplication>
#include <cstdio>
#include <gtest/gtest.h>
#include <optional>

namespace {
std::optional<velmoran::support::PrivateSession> session;
}

velmoran::support::PrivateSession& velmoran::desktopSession() {
    return *session;
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) {
        return RUN_ALL_TESTS();
    }
    session.emplace();
    try {
        session->startDisplay();
        session->startBus();
    } catch (const velmoran::support::NotInstalled& missing) {
        std::printf("[  SKIPPED ] all: %s\n", missing.what());
        return 1;
    }
    session->enter();
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("WAYLAND_DISPLAY");
    int result = 0;
    {
        QApplication app(argc, argv);
        QApplication::setQuitOnLastWindowClosed(false);
        result = RUN_ALL_TESTS();
    }
    session.reset();
    return result;
}
