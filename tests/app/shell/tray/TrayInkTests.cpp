#include "app/shell/tray/TrayInk.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

const QColor windowText(20, 20, 20);

TEST(TrayInk, IsWhatTheTraySays) {
    EXPECT_EQ(trayInk(QColor(1, 2, 3), "GNOME", windowText), QColor(1, 2, 3));
}

TEST(TrayInk, IsTheTextColorOfWindowsOtherwise) {
    EXPECT_EQ(trayInk({}, "KDE", windowText), windowText);
    EXPECT_EQ(trayInk({}, "", windowText), windowText);
    EXPECT_EQ(trayInk({}, "GNOME-Flashback-Like", windowText), windowText);
}

TEST(TrayInk, IsLightWhereTheBarIsDarkWhateverTheWindowsAre) {
    EXPECT_GT(trayInk({}, "GNOME", windowText).lightness(), 200);
    EXPECT_GT(trayInk({}, "ubuntu:GNOME", windowText).lightness(), 200);
    EXPECT_GT(trayInk({}, "Budgie:X", windowText).lightness(), 200);
}

} // namespace
} // namespace velmoran
