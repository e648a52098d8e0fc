#include "app/controls/ControlInput.h"
#include "app/controls/Labels.h"
#include "app/look/ScreenColors.h"

#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using namespace testing;

struct LabelsTest : ::testing::Test {
    const QFont font = QApplication::font();
    const QPalette palette = QApplication::palette();
    QWidget window;
    QVBoxLayout column{&window};

    void TearDown() override {
        QApplication::setFont(font);
        QApplication::setPalette(palette);
    }
    template <class Label>
    Label& add(Label* label) {
        column.addWidget(label);
        return *label;
    }
};

QPalette darkDesktop() {
    QPalette result;
    result.setColor(QPalette::Window, QColor(0x20, 0x20, 0x20));
    result.setColor(QPalette::WindowText, Qt::white);
    return result;
}

TEST_F(LabelsTest, ShowWhatTheyAreGivenAsPlainText) {
    const auto text = QStringLiteral("<b>Zoom</b> & \u202Efriends\x07");
    auto& line = add(new LineLabel(text, TextStyle::body, Ink::text, &window));
    auto& lines = add(new TextLabel(text, TextStyle::body, Ink::text, &window));
    EXPECT_EQ(nameOf(line), "<b>Zoom</b> & friends");
    EXPECT_EQ(nameOf(lines), "<b>Zoom</b> & friends ");
    EXPECT_EQ(lines.textFormat(), Qt::PlainText);
    EXPECT_EQ(roleOf(line), QAccessible::StaticText);
    EXPECT_EQ(roleOf(lines), QAccessible::StaticText);
}

TEST_F(LabelsTest, ALineIsCutAndTellsTheWhole) {
    const QString name(300, QLatin1Char('m'));
    auto& line = add(new LineLabel(name, TextStyle::body, Ink::text, &window));
    window.resize(200, 60);
    showWindow(window);
    EXPECT_LE(line.width(), 200);
    EXPECT_EQ(line.toolTip(), name);
    EXPECT_EQ(nameOf(line), name.toStdString());
    line.setPlain(QStringLiteral("m"));
    EXPECT_TRUE(line.toolTip().isEmpty());
    const QString other(300, QLatin1Char('n'));
    line.setPlain(other);
    EXPECT_EQ(line.toolTip(), other);
}

TEST_F(LabelsTest, ATextThatIsCutTellsTheWholeOfWhatItShowsNow) {
    const QString name(300, QLatin1Char('m'));
    auto& text = add(new TextLabel(name, TextStyle::body, Ink::text, &window));
    text.setMostLines(1);
    text.setFixedSize(180, 40);
    showWindow(window);
    EXPECT_EQ(text.toolTip(), name);
    text.setPlain(QStringLiteral("m"));
    EXPECT_TRUE(text.toolTip().isEmpty());
    const QString other(300, QLatin1Char('n'));
    text.setPlain(other);
    EXPECT_EQ(text.toolTip(), other);
}

TEST_F(LabelsTest, AToolTipIsPlainTextToo) {
    auto& line = add(new LineLabel(QStringLiteral("<b>%1</b>").arg(QString(300, QLatin1Char('m'))),
                                   TextStyle::body, Ink::text, &window));
    window.resize(200, 60);
    showWindow(window);
    EXPECT_TRUE(line.toolTip().contains(QLatin1String("&lt;b&gt;")));
}

TEST_F(LabelsTest, ALineThatDoesNotGrowTakesItsTextsWidthAlone) {
    QHBoxLayout row;
    column.addLayout(&row);
    auto* name = new LineLabel(QStringLiteral("Zoom"), TextStyle::body, Ink::text, &window);
    auto* time =
        new LineLabel(QStringLiteral("14:05"), TextStyle::tabular, Ink::text, &window, false);
    row.addWidget(name);
    row.addWidget(time);
    window.resize(400, 60);
    showWindow(window);
    EXPECT_EQ(time->width(), time->sizeHint().width());
    EXPECT_GT(name->width(), 200);
    column.removeItem(&row);
}

TEST_F(LabelsTest, ATextOfTenThousandLettersStaysInItsPlace) {
    const QString name(10000, QLatin1Char('m'));
    auto& line = add(new LineLabel(name, TextStyle::body, Ink::text, &window));
    auto& lines = add(new TextLabel(name, TextStyle::body, Ink::text, &window));
    lines.setMostLines(3);
    EXPECT_LE(line.sizeHint().width(), 480);
    EXPECT_LE(lines.sizeHint().width(), 361);
    EXPECT_LE(lines.minimumSizeHint().width(), 60);
    EXPECT_LE(lines.heightForWidth(200), 4 * QFontMetrics(lines.font()).lineSpacing());
    window.resize(200, 100);
    showWindow(window);
    EXPECT_EQ(lines.toolTip(), name);
}

TEST_F(LabelsTest, ATextIsAsHighAsItsLinesAtItsWidth) {
    auto& text = add(new TextLabel(QStringLiteral("one two three four five six seven eight nine"),
                                   TextStyle::body, Ink::text, &window));
    EXPECT_TRUE(text.hasHeightForWidth());
    EXPECT_GT(text.heightForWidth(80), 2 * text.heightForWidth(360));
    text.setPlain({});
    EXPECT_EQ(text.heightForWidth(80), 0);
    text.setPlain(QStringLiteral("one\ntwo"));
    EXPECT_GT(text.heightForWidth(360), QFontMetrics(text.font()).height() * 3 / 2);
}

TEST_F(LabelsTest, FollowTheDesktopsFont) {
    auto& line = add(new LineLabel(QStringLiteral("Zoom"), TextStyle::title3, Ink::text, &window));
    auto& text = add(new TextLabel(QStringLiteral("Zoom"), TextStyle::caption, Ink::text, &window));
    showWindow(window);
    const auto before = std::pair(line.sizeHint(), text.sizeHint());
    auto larger = font;
    larger.setPointSizeF(2 * font.pointSizeF());
    QApplication::setFont(larger);
    QApplication::processEvents();
    EXPECT_GT(line.sizeHint().height(), before.first.height() * 3 / 2);
    EXPECT_GT(text.sizeHint().height(), before.second.height() * 3 / 2);
    QApplication::processEvents(); // the window follows its parts
    EXPECT_GE(line.height(), line.sizeHint().height());
}

TEST_F(LabelsTest, FollowTheDesktopsPalette) {
    auto& line = add(new LineLabel(QStringLiteral("mmmm"), TextStyle::body, Ink::warning, &window));
    auto& text = add(new TextLabel(QStringLiteral("mmmm"), TextStyle::title3, Ink::text, &window));
    auto& symbol = add(new SymbolLabel(QStringLiteral("video.fill"), 22, Ink::camera, &window));
    showWindow(window);
    QApplication::setPalette(darkDesktop());
    QApplication::processEvents();
    const ScreenColors dark(darkDesktop());
    EXPECT_GT(pixelsOf(line.grab().toImage(), dark.warning), 5);
    EXPECT_GT(pixelsOf(text.grab().toImage(), Qt::white), 5);
    EXPECT_GT(pixelsOf(symbol.grab().toImage(), dark.camera), 50);
}

TEST_F(LabelsTest, ASymbolWithoutANameAndAPictureAreHiddenFromScreenReaders) {
    auto& silent = add(new SymbolLabel(QStringLiteral("mic.fill"), 22, Ink::text, &window));
    auto& spoken = add(new SymbolLabel(QStringLiteral("mic.fill"), 22, Ink::text, &window,
                                       QStringLiteral("Microphone")));
    auto& picture = add(new AppImage({}, AppIdentity::unknown(), 22, &window));
    auto& hairline = add(new Hairline(&window));
    showWindow(window);
    EXPECT_EQ(roleOf(spoken), QAccessible::Graphic);
    EXPECT_EQ(nameOf(spoken), "Microphone");
    EXPECT_FALSE(stateOf(spoken).invisible);
    for (auto* each : std::initializer_list<QWidget*>{&silent, &picture, &hairline}) {
        EXPECT_TRUE(stateOf(*each).invisible);
        EXPECT_EQ(roleOf(*each), QAccessible::NoRole);
    }
}

TEST_F(LabelsTest, APictureIsAskedForOnceAndAgainForAnotherApp) {
    int asked = 0;
    const AppPicture picture = [&](const AppIdentity&) {
        ++asked;
        return QIcon();
    };
    auto& image = add(new AppImage(picture, AppIdentity::unknown(), 22, &window));
    showWindow(window);
    image.repaint();
    image.repaint();
    EXPECT_EQ(asked, 1);
    AppIdentity zoom;
    zoom.id = "us.zoom";
    zoom.name = "Zoom";
    image.setApp(zoom);
    image.repaint();
    EXPECT_EQ(asked, 2);
}

TEST_F(LabelsTest, AHairlineIsOneDevicePixel) {
    auto& hairline = add(new Hairline(&window));
    showWindow(window);
    const auto image = hairline.grab().toImage();
    EXPECT_EQ(hairline.height(), 1);
    EXPECT_EQ(image.pixel(image.width() / 2, 0), ScreenColors(window.palette()).line.rgb());
}

} // namespace
} // namespace velmoran
