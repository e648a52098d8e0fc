#include "app/look/SymbolShapes.h"
#include "app/look/SymbolTable.h"
#include "app/look/Symbols.h"

#include <QBuffer>
#include <QImageReader>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

QImage drawn(const QString& name, double pixelsPerPoint = 1) {
    return symbolPixmap(name, Qt::black, 32, pixelsPerPoint).toImage();
}

QString nameOf(const SymbolEntry& entry) {
    return QString::fromLatin1(entry.name.data(), static_cast<qsizetype>(entry.name.size()));
}

/// How much of a picture is covered, in pixels.
double inkOf(const QImage& image) {
    double ink = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            ink += static_cast<double>(image.pixelColor(x, y).alphaF());
        }
    }
    return ink;
}

TEST(Symbols, AreAllDifferentPictures) {
    ASSERT_GT(symbolTable().size(), 20U);
    for (const auto& one : symbolTable()) {
        for (const auto& other : symbolTable()) {
            EXPECT_EQ(drawn(nameOf(one)) == drawn(nameOf(other)), one.name == other.name)
                << one.name << " " << other.name;
        }
    }
}

TEST(Symbols, HaveTheNamesThatRecordsAndScreensUse) {
    for (const char* name : {"video.fill",
                             "mic.fill",
                             "mic.slash.fill",
                             "speaker.wave.2.fill",
                             "speaker.wave.2",
                             "speaker.slash.fill",
                             "speaker.slash",
                             "stop.fill",
                             "megaphone.fill",
                             "info.circle",
                             "checkmark.shield.fill",
                             "clock",
                             "eye",
                             "eye.slash.fill",
                             "hand.raised.fill",
                             "lock.fill",
                             "list.bullet",
                             "chart.xyaxis.line",
                             "chevron",
                             "chevron.left",
                             "chevron.right",
                             "chevron.down",
                             "exclamationmark",
                             "checkmark",
                             "checkmark.circle",
                             "xmark",
                             "exclamationmark.circle",
                             "app",
                             "camera",
                             "microphone"}) {
        EXPECT_TRUE(hasSymbol(QString::fromLatin1(name))) << name;
        EXPECT_EQ(drawn(QString::fromLatin1(name)) == drawn(QStringLiteral("failed")),
                  std::string_view(name) == "exclamationmark.circle")
            << name;
    }
}

TEST(Symbols, AnUnknownNameIsTheExclamationMark) {
    EXPECT_FALSE(hasSymbol(QStringLiteral("no.such.symbol")));
    EXPECT_EQ(drawn(QStringLiteral("no.such.symbol")),
              drawn(QStringLiteral("exclamationmark.circle")));
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

TEST(Symbols, ATransparentInkIsAsTransparentWhereFormsLieOverEachOther) {
    const auto image =
        symbolPixmap(QStringLiteral("mic.slash.fill"), QColor(0, 0, 0, 100), 64, 1).toImage();
    for (int y = 0; y < 64; ++y) {
        for (int x = 0; x < 64; ++x) {
            EXPECT_LE(image.pixelColor(x, y).alpha(), 101);
        }
    }
}

TEST(Symbols, KeepTheMarginOfTheGrid) {
    for (const auto& entry : symbolTable()) {
        // Two of 24, so eight of 96; the blur of an edge may reach one pixel further.
        const auto image = symbolPixmap(nameOf(entry), Qt::black, 96, 1).toImage();
        const auto inside = image.copy(7, 7, 82, 82);
        EXPECT_NEAR(inkOf(image), inkOf(inside), 0.01) << entry.name;
    }
}

TEST(Symbols, CanBeSeenAtTwelvePoints) {
    for (const auto& entry : symbolTable()) {
        const auto ink = inkOf(symbolPixmap(nameOf(entry), Qt::black, 12, 1).toImage());
        EXPECT_GT(ink, 7) << entry.name;
        EXPECT_LT(ink, 100) << entry.name;
    }
}

TEST(Symbols, AreDrawnAsQtDrawsThem) {
    if (!QImageReader::supportedImageFormats().contains("svg")) {
        GTEST_SKIP() << "libqt6svg6 isn't installed";
    }
    for (const auto& entry : symbolTable()) {
        QByteArray svg(entry.svg.data(), static_cast<qsizetype>(entry.svg.size()));
        svg.replace("currentColor", "#000000");
        QBuffer buffer(&svg);
        QImageReader reader(&buffer, "svg");
        reader.setScaledSize(QSize(96, 96));
        const auto theirs = reader.read();
        const auto ours = symbolPixmap(nameOf(entry), Qt::black, 96, 1).toImage();
        ASSERT_EQ(theirs.size(), ours.size()) << entry.name;
        double difference = 0;
        for (int y = 0; y < 96; ++y) {
            for (int x = 0; x < 96; ++x) {
                difference += std::abs(static_cast<double>(theirs.pixelColor(x, y).alphaF() -
                                                           ours.pixelColor(x, y).alphaF()));
            }
        }
        EXPECT_LT(difference, 0.02 * inkOf(theirs)) << entry.name;
    }
}

} // namespace
} // namespace velmoran
