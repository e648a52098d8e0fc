#include "app/look/ScreenColors.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

QPalette paletteOf(const QColor& window, const QColor& text) {
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Highlight, QColor(0x35, 0x84, 0xe4));
    return palette;
}

const QPalette lightPalette = paletteOf(QColor(0xf6, 0xf5, 0xf4), QColor(0x2e, 0x34, 0x36));
const QPalette darkPalette = paletteOf(QColor(0x24, 0x24, 0x24), Qt::white);

TEST(ScreenColors, ContrastIsThatOfTheWebsGuidelines) {
    EXPECT_NEAR(contrast(Qt::black, Qt::white), 21, 0.01);
    EXPECT_NEAR(contrast(Qt::white, Qt::black), 21, 0.01);
    EXPECT_NEAR(contrast(Qt::red, Qt::red), 1, 0.01);
    EXPECT_NEAR(contrast(QColor(0x77, 0x77, 0x77), Qt::white), 4.48, 0.01);
}

TEST(ScreenColors, AreTheProgramsOwnOnOrdinaryDesktops) {
    const ScreenColors light(lightPalette);
    EXPECT_FALSE(light.isDark);
    EXPECT_EQ(light.camera, QColor(0x24, 0x8a, 0x3d));
    EXPECT_EQ(light.microphone, QColor(0xb2, 0x50, 0x00));
    EXPECT_EQ(light.warning, QColor(0xd7, 0x00, 0x15));
    const ScreenColors dark(darkPalette);
    EXPECT_TRUE(dark.isDark);
    EXPECT_EQ(dark.camera, QColor(0x30, 0xd1, 0x58));
    EXPECT_EQ(dark.microphone, QColor(0xff, 0x9f, 0x0a));
    EXPECT_EQ(dark.warning, QColor(0xff, 0x45, 0x3a));
    for (const auto& each : {light, dark}) {
        EXPECT_EQ(each.stop, QColor(0xf9, 0xd8, 0x4a));
        EXPECT_EQ(each.stopText, QColor(0x14, 0x14, 0x14));
        EXPECT_EQ(each.highlight, QColor(0x35, 0x84, 0xe4));
    }
}

TEST(ScreenColors, CanBeReadOnWhateverWindow) {
    for (int shade = 0; shade <= 255; shade += 5) {
        const QColor window(shade, shade, shade);
        const ScreenColors colors(paletteOf(window, shade < 128 ? Qt::white : Qt::black));
        const auto best = contrast(colors.text, window);
        EXPECT_GE(contrast(colors.secondary, window), std::min(4.5, best)) << shade;
        EXPECT_GE(contrast(colors.warning, window), std::min(4.5, best)) << shade;
        EXPECT_GE(contrast(colors.camera, window), std::min(3.0, best)) << shade;
        EXPECT_GE(contrast(colors.microphone, window), std::min(3.0, best)) << shade;
        if (!colors.isDark) {
            EXPECT_GE(contrast(colors.stopEdge, window), 3.0) << shade;
        }
    }
}

TEST(ScreenColors, TheYellowHasADarkerEdgeOnALightWindowAlone) {
    const ScreenColors light(lightPalette);
    EXPECT_LT(light.stopEdge.lightness(), light.stop.lightness());
    const ScreenColors dark(darkPalette);
    EXPECT_EQ(dark.stopEdge, dark.stop);
}

TEST(ScreenColors, AreThoseOfAWindowInFront) {
    auto palette = lightPalette;
    palette.setColor(QPalette::Disabled, QPalette::WindowText, Qt::gray);
    palette.setColor(QPalette::Inactive, QPalette::Highlight, Qt::gray);
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        palette.setCurrentColorGroup(group);
        EXPECT_EQ(ScreenColors(palette).text, QColor(0x2e, 0x34, 0x36));
        EXPECT_EQ(ScreenColors(palette).highlight, QColor(0x35, 0x84, 0xe4));
    }
}

TEST(ScreenColors, SecondaryIsQuieterThanTheText) {
    for (const auto& palette : {lightPalette, darkPalette}) {
        const ScreenColors colors(palette);
        EXPECT_LT(contrast(colors.secondary, colors.window), contrast(colors.text, colors.window));
        EXPECT_LT(contrast(colors.line, colors.window), contrast(colors.grid, colors.window));
    }
}

} // namespace
} // namespace velmoran
