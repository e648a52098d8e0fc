#include "app/look/AppTile.h"

#include "app/look/ScreenColors.h"

#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

AppIdentity appCalled(const std::string& name, const std::string& id = "org.example.App") {
    AppIdentity app;
    app.id = id;
    app.name = name;
    return app;
}

QImage tileOf(const AppIdentity& app, const QPalette& palette = {}) {
    return appPixmap({}, app, 32, 1, palette).toImage();
}

QRgb toneOf(const AppIdentity& app) {
    return tileOf(app).pixel(16, 3); // above the letter
}

TEST(AppTile, AnAppsOwnPictureComesFirst) {
    QPixmap green(32, 32);
    green.fill(Qt::green);
    const AppPicture picture = [&](const AppIdentity&) {
        return QIcon(green);
    };
    EXPECT_EQ(appPixmap(picture, appCalled("Zoom"), 32, 1, {}).toImage().pixelColor(16, 16),
              QColor(Qt::green));
}

TEST(AppTile, AnAppWithoutOneHasALetterOnATile) {
    EXPECT_EQ(tileOf(appCalled("Zoom")).size(), QSize(32, 32));
    EXPECT_EQ(tileOf(appCalled("Zoom")), tileOf(appCalled("zoom")));
    EXPECT_EQ(tileOf(appCalled("Zoom")), tileOf(appCalled("\"Zebra\"")));
    EXPECT_NE(tileOf(appCalled("Zoom")), tileOf(appCalled("Voice")));
    EXPECT_EQ(tileOf(appCalled("Zoom")).pixelColor(0, 0).alpha(), 0); // the corner is round
}

TEST(AppTile, TheToneGoesByTheAppAndNotByItsName) {
    EXPECT_EQ(toneOf(appCalled("Zoom")), toneOf(appCalled("Voice")));
    std::set<QRgb> tones;
    for (int number = 0; number < 60; ++number) {
        tones.insert(toneOf(appCalled("Zoom", "org.example.App" + std::to_string(number))));
    }
    EXPECT_GE(tones.size(), 10U);
}

TEST(AppTile, TheLetterCanBeReadInEachTone) {
    for (const auto& [window, text] : {std::pair(QColor(Qt::white), QColor(Qt::black)),
                                       std::pair(QColor(0x2b, 0x2b, 0x2b), QColor(Qt::white))}) {
        QPalette palette;
        palette.setColor(QPalette::Window, window);
        palette.setColor(QPalette::WindowText, text);
        for (int number = 0; number < 60; ++number) {
            const auto image =
                tileOf(appCalled("I", "org.example.App" + std::to_string(number)), palette);
            const auto tone = image.pixelColor(16, 3);
            EXPECT_GE(contrast(tone, image.pixelColor(16, 16)), 4.5) << number;
        }
    }
}

TEST(AppTile, WhatCannotBeNamedHasAQuestionMark) {
    auto hidden = appCalled("Zoom");
    hidden.unidentified = true;
    EXPECT_EQ(tileOf(hidden), tileOf(AppIdentity::unknown()));
    EXPECT_NE(tileOf(hidden), tileOf(appCalled("Zoom")));
}

TEST(AppTile, TakesAnyName) {
    for (const auto& name : {std::string(), std::string("<b>"), std::string("\xff\xfe"),
                             std::string("\n\t"), std::string(10000, ' '), std::string("\u202eabc"),
                             std::string("ßtraße"), std::string("日本"), std::string("e\u0301")}) {
        EXPECT_EQ(tileOf(appCalled(name)).size(), QSize(32, 32));
    }
}

TEST(AppTile, AListAsksForAPictureOnce) {
    int asked = 0;
    AppPixmaps pixmaps([&](const AppIdentity&) {
        ++asked;
        return QIcon();
    });
    const QPalette palette;
    const auto first = pixmaps.of(appCalled("Zoom"), 16, 2, palette);
    EXPECT_EQ(first.size(), QSize(32, 32));
    EXPECT_EQ(pixmaps.of(appCalled("Zoom"), 16, 2, palette).toImage(), first.toImage());
    EXPECT_EQ(asked, 1);
    pixmaps.of(appCalled("Zoom"), 16, 1, palette);
    pixmaps.of(appCalled("Zoom", "org.example.Other"), 16, 2, palette);
    EXPECT_EQ(asked, 3);
    pixmaps.forget();
    pixmaps.of(appCalled("Zoom"), 16, 2, palette);
    EXPECT_EQ(asked, 4);
}

} // namespace
} // namespace velmoran
