#include "app/look/CardText.h"

#include <QFontMetrics>
#include <QGuiApplication>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

int lines(const CardText& text) {
    return text.height() / QFontMetrics(QGuiApplication::font()).height();
}

TEST(CardText, TakesAsManyLinesAsItNeeds) {
    const CardText one(QStringLiteral("Zoom"), QGuiApplication::font(), Qt::black, 300, 3, nullptr);
    EXPECT_EQ(lines(one), 1);
    EXPECT_EQ(one.toolTip(), QString());
    const CardText two(QStringLiteral("Zoom\nZoom"), QGuiApplication::font(), Qt::black, 300, 3,
                       nullptr);
    EXPECT_EQ(lines(two), 2);
    EXPECT_EQ(two.toolTip(), QString());
    EXPECT_EQ(two.width(), 300);
}

TEST(CardText, BreaksAWordThatIsWiderThanTheCard) {
    const CardText text(QString(60, QLatin1Char('m')), QGuiApplication::font(), Qt::black, 300, 9,
                        nullptr);
    EXPECT_GE(lines(text), 2);
    EXPECT_EQ(text.toolTip(), QString());
}

TEST(CardText, EndsAfterItsLinesAndKeepsTheWholeForWhoReadsItAloud) {
    const QString name(4000, QLatin1Char('m'));
    const CardText text(name + " turned on the camera", QGuiApplication::font(), Qt::black, 300, 3,
                        nullptr);
    EXPECT_EQ(lines(text), 3);
    EXPECT_EQ(text.text(), name + " turned on the camera");
    EXPECT_EQ(text.toolTip(), text.text());
}

TEST(CardText, CutsALongNameAndKeepsWhatItDid) {
    const CardText text(QString(4000, QLatin1Char('m')) + " turned on the camera",
                        QGuiApplication::font(), Qt::black, 300, 3, nullptr);
    EXPECT_TRUE(text.shownText().endsWith(QStringLiteral("\u2026 turned on the camera")))
        << text.shownText().right(40).toStdString();
}

TEST(CardText, ShowsWhereAnAppOfTheWidestNameLies) {
    // As wide as such a name gets, on the text's width of a card with a picture.
    auto bold = QGuiApplication::font();
    bold.setWeight(QFont::DemiBold);
    const CardText text(QString(36, QLatin1Char('W')) + " (~/" + QString(28, QLatin1Char('W')) +
                            ") turned on the camera and microphone",
                        bold, Qt::black, 259, 3, nullptr);
    EXPECT_TRUE(text.shownText().contains(QStringLiteral("WWWW (~/WWW")))
        << text.shownText().toStdString();
}

TEST(CardText, CutsBetweenLinesThatStandForThemselves) {
    const CardText text(QStringLiteral("a\nb\nc\nd"), QGuiApplication::font(), Qt::black, 300, 3,
                        nullptr);
    EXPECT_EQ(lines(text), 3);
    EXPECT_TRUE(text.shownText().endsWith(QStringLiteral("c\u2026")));
}

TEST(CardText, KeepsANameOfAnotherScriptAtTheBeginningOfItsSentence) {
    const QString name = QString::fromUtf8("\u0639\u0631\u0628\u064A");
    const CardText text(name + " turned on the camera", QGuiApplication::font(), Qt::black, 600, 3,
                        nullptr);
    EXPECT_LT(text.leftOf(1), text.leftOf(static_cast<int>(name.size()) + 5));
}

TEST(CardText, AnEmptyTextTakesOneLine) {
    const CardText text(QString(), QGuiApplication::font(), Qt::black, 300, 3, nullptr);
    EXPECT_LE(lines(text), 1);
    EXPECT_EQ(text.toolTip(), QString());
}

TEST(HarmlessText, LeavesOutWhatWouldTurnTheDirection) {
    EXPECT_EQ(harmlessText(QStringLiteral("gpj.\u202Eexe\u2066\u200F!")), "gpj.exe!");
}

TEST(HarmlessText, TurnsControlCharactersIntoSpacesButLineBreaks) {
    EXPECT_EQ(harmlessText(QStringLiteral("a\x01"
                                          "b\tc\nd\r")),
              "a b c\nd ");
}

TEST(HarmlessText, KeepsOtherScripts) {
    const QString name = QStringLiteral("Ünï 日本語 עברית");
    EXPECT_EQ(harmlessText(name), name);
}

} // namespace
} // namespace velmoran
