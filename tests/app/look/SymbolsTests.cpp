#include "app/look/Symbols.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

QImage drawn(const char* name, double pixelsPerPoint = 1) {
    return symbolPixmap(QString::fromLatin1(name), Qt::black, 32, pixelsPerPoint).toImage();
}

TEST(Symbols, AreAllDifferentPictures) {
    const char* names[] = {"checkmark.circle",
                           "exclamationmark.circle",
                           "speaker.wave.2",
                           "speaker.slash",
                           "stop.fill",
                           "xmark",
                           "app",
                           "camera",
                           "microphone"};
    for (const char* one : names) {
        for (const char* other : names) {
            EXPECT_EQ(drawn(one) == drawn(other), std::string(one) == other) << one << other;
        }
    }
}

TEST(Symbols, AnUnknownNameIsTheExclamationMark) {
    EXPECT_EQ(drawn("no.such.symbol"), drawn("exclamationmark.circle"));
}

TEST(Symbols, AreAsSharpAsTheScreen) {
    const auto pixmap = symbolPixmap(QStringLiteral("camera"), Qt::black, 32, 2);
    EXPECT_EQ(pixmap.size(), QSize(64, 64));
    EXPECT_EQ(pixmap.deviceIndependentSize(), QSizeF(32, 32));
}

TEST(Symbols, TakeTheInk) {
    const auto image = symbolPixmap(QStringLiteral("speaker.slash"), Qt::red, 32, 1).toImage();
    int ink = 0;
    for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 32; ++x) {
            const auto color = image.pixelColor(x, y);
            if (color.alpha() > 200) {
                ++ink;
                EXPECT_GT(color.red(), 200);
                EXPECT_LT(color.green(), 60);
            }
        }
    }
    EXPECT_GT(ink, 40);
}

} // namespace
} // namespace velmoran
