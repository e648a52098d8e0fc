#include "app/look/TextStyle.h"

#include <QFontMetricsF>
#include <QImage>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

QFont bodyOf(double points) {
    QFont body;
    body.setPointSizeF(points);
    return body;
}

/// The columns with ink, from the first to the last.
std::pair<int, int> inkColumns(const QImage& image) {
    int first = image.width();
    int last = -1;
    for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
            if (qAlpha(image.pixel(x, y)) > 40) {
                first = std::min(first, x);
                last = x;
            }
        }
    }
    return {first, last};
}

QImage evenText(Qt::Alignment alignment, const QString& text) {
    QImage image(200, 40, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setFont(bodyOf(12));
    drawEven(painter, QRectF(0, 0, 200, 40), alignment, text);
    return image;
}

TEST(TextStyle, SizesAndWeightsComeFromTheBody) {
    const auto body = bodyOf(10);
    EXPECT_EQ(font(TextStyle::body, body), body);
    EXPECT_EQ(font(TextStyle::headline, body).weight(), QFont::DemiBold);
    EXPECT_DOUBLE_EQ(font(TextStyle::headline, body).pointSizeF(), 10);
    EXPECT_DOUBLE_EQ(font(TextStyle::title3, body).pointSizeF(), 12);
    EXPECT_EQ(font(TextStyle::title3, body).weight(), QFont::DemiBold);
    EXPECT_DOUBLE_EQ(font(TextStyle::caption, body).pointSizeF(), 8.5);
    EXPECT_DOUBLE_EQ(font(TextStyle::captionTabular, body).pointSizeF(), 8.5);
    EXPECT_DOUBLE_EQ(font(TextStyle::monospaced, body).pointSizeF(), 10);
}

TEST(TextStyle, FollowsAFontThatIsGivenInPixels) {
    QFont body;
    body.setPixelSize(20);
    EXPECT_EQ(font(TextStyle::title3, body).pixelSize(), 24);
    EXPECT_EQ(font(TextStyle::caption, body).pixelSize(), 17);
    EXPECT_EQ(font(TextStyle::monospaced, body).pixelSize(), 20);
}

TEST(TextStyle, EvenTextsOfAsManyDigitsAreEquallyWide) {
    // Any font of the machine, with even digits or not.
    for (const char* family : {"", "serif", "DejaVu Sans", "DejaVu Serif"}) {
        QFont each = bodyOf(11);
        if (*family != '\0') {
            each.setFamily(QString::fromLatin1(family));
        }
        EXPECT_DOUBLE_EQ(evenWidth(each, QStringLiteral("11 min")),
                         evenWidth(each, QStringLiteral("48 min")));
        EXPECT_GE(evenWidth(each, QStringLiteral("17")) + 0.01,
                  QFontMetricsF(each).horizontalAdvance(QStringLiteral("17")));
    }
}

TEST(TextStyle, EvenTextStandsWhereItIsAligned) {
    const auto text = QStringLiteral("12:34");
    const auto width = evenWidth(bodyOf(12), text);
    EXPECT_LT(inkColumns(evenText(Qt::AlignLeft | Qt::AlignVCenter, text)).first, 4);
    EXPECT_GT(inkColumns(evenText(Qt::AlignRight | Qt::AlignVCenter, text)).second, 195);
    const auto [first, last] = inkColumns(evenText(Qt::AlignCenter, text));
    EXPECT_NEAR((first + last) / 2.0, 100, 3);
    EXPECT_LE(last - first, width);
}

} // namespace
} // namespace velmoran
