#include "app/shell/tray/TrayInk.h"

#include "app/look/ScreenColors.h"

#include <algorithm>
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

TEST(TrayInk, GoesWithAnOutlineThatShowsUpWhereItDoesNot) {
    for (int red = 0; red <= 255; red += 51) {
        for (int green = 0; green <= 255; green += 51) {
            for (int blue = 0; blue <= 255; blue += 51) {
                const auto [ink, outline] = outlined(QColor(red, green, blue));
                for (int grey = 0; grey <= 255; ++grey) {
                    const QColor ground(grey, grey, grey);
                    EXPECT_GE(std::max(contrast(ink, ground), contrast(outline, ground)), 3)
                        << ink.name().toStdString() << " on " << grey;
                }
            }
        }
    }
}

TEST(TrayInk, StaysWhatTheTraySaysWhereThatIsClearEnough) {
    const QColor light(0xdf, 0xdb, 0xd2);
    EXPECT_EQ(outlined(light).ink, light);
    EXPECT_EQ(outlined(light).outline, QColor(Qt::black));
    EXPECT_EQ(outlined(windowText).ink, windowText);
    EXPECT_EQ(outlined(windowText).outline, QColor(Qt::white));
    EXPECT_EQ(outlined(QColor(150, 150, 150)).ink, QColor(Qt::white));
    EXPECT_EQ(outlined(QColor(255, 0, 0, 0)).ink.alpha(), 255);
}

TEST(TrayInk, IsLightWhereTheBarIsDarkWhateverTheWindowsAre) {
    EXPECT_GT(trayInk({}, "GNOME", windowText).lightness(), 200);
    EXPECT_GT(trayInk({}, "ubuntu:GNOME", windowText).lightness(), 200);
    EXPECT_GT(trayInk({}, "Budgie:X", windowText).lightness(), 200);
}

} // namespace
} // namespace velmoran
