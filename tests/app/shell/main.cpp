// Runs the tests of the desktop on a screen that isn't there, with a home of their own.
#include "support/TemporaryDirectory.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    const velmoran::TemporaryDirectory home;
    for (const char* folder : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
        qputenv(folder, QByteArray::fromStdString(home.path()));
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    // Nobody's own desktop is asked for anything.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    qunsetenv("WAYLAND_DISPLAY");
    ::testing::InitGoogleTest(&argc, argv);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    return RUN_ALL_TESTS();
}
