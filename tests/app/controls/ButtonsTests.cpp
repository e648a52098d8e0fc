#include "app/controls/Buttons.h"
#include "app/controls/ControlInput.h"
#include "app/look/ScreenColors.h"

#include <QScrollArea>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using namespace testing;

struct ButtonsTest : ::testing::Test {
    QWidget window;
    QVBoxLayout column{&window};
    int presses = 0;

    template <class Kind>
    Kind& add(Kind* button) {
        column.addWidget(button);
        QObject::connect(button, &QAbstractButton::clicked, button, [this] { ++presses; });
        return *button;
    }
    FaceButton& addFace(const QString& text, FaceButton::Face face = FaceButton::Face::plain) {
        return add(new FaceButton(text, face, &window));
    }
};

TEST_F(ButtonsTest, ArePressedByMouseSpaceAndEnter) {
    auto& symbol = add(new SymbolButton(QStringLiteral("info.circle"), 16, 24, &window));
    auto& link = add(new LinkButton(QStringLiteral("History"), &window));
    auto& face = addFace(QStringLiteral("Stop"), FaceButton::Face::stop);
    auto& row = add(new RowButton(&window));
    showWindow(window);
    for (auto* each : std::initializer_list<QWidget*>{&symbol, &link, &face, &row}) {
        presses = 0;
        click(*each);
        EXPECT_EQ(presses, 1);
        press(*each, Qt::Key_Space);
        EXPECT_EQ(presses, 2);
        press(*each, Qt::Key_Return);
        press(*each, Qt::Key_Enter);
        EXPECT_EQ(presses, 4);
        EXPECT_EQ(roleOf(*each), QAccessible::Button);
        each->setEnabled(false);
        click(*each);
        press(*each, Qt::Key_Return);
        EXPECT_EQ(presses, 4);
    }
}

TEST_F(ButtonsTest, AreCalledWhatTheySay) {
    auto& face = addFace(QStringLiteral("Trust Tom & Jerry"));
    EXPECT_EQ(nameOf(face), "Trust Tom & Jerry");
    EXPECT_EQ(face.plainText(), QStringLiteral("Trust Tom & Jerry"));
    EXPECT_TRUE(face.shortcut().isEmpty());
    auto& link = add(new LinkButton(QStringLiteral("A\nB\u202E"), &window));
    EXPECT_EQ(nameOf(link), "A B");
    auto& symbol = add(new SymbolButton(QStringLiteral("megaphone.fill"), 22, 36, &window));
    symbol.setWords(QStringLiteral("Always tells you when <i>Zoom</i> uses the camera."),
                    QStringLiteral("Always warns. Click to turn off."));
    EXPECT_EQ(nameOf(symbol), "Always warns. Click to turn off.");
    EXPECT_TRUE(symbol.toolTip().contains(QLatin1String("&lt;i&gt;Zoom")));
}

TEST_F(ButtonsTest, ShowTheFocusThatTheKeyboardBrought) {
    auto& first = addFace(QStringLiteral("One"));
    auto& second = addFace(QStringLiteral("Two"));
    showWindow(window);
    click(first);
    first.setFocus(Qt::MouseFocusReason);
    EXPECT_FALSE(first.showsFocus());
    press(first, Qt::Key_Tab);
    second.setFocus(Qt::TabFocusReason);
    EXPECT_TRUE(second.showsFocus());
    EXPECT_FALSE(first.showsFocus());
    second.setFocus(Qt::MouseFocusReason);
    first.setFocus(Qt::BacktabFocusReason);
    EXPECT_TRUE(first.showsFocus());
    second.setFocus(Qt::MouseFocusReason);
    EXPECT_FALSE(first.showsFocus());
    EXPECT_FALSE(second.showsFocus());
}

TEST_F(ButtonsTest, TheRingIsTwoPointsAwayAndGoesWithItsButton) {
    column.setContentsMargins(20, 20, 20, 20);
    window.setFixedSize(200, 160);
    QPalette palette = window.palette();
    palette.setColor(QPalette::Highlight, Qt::blue);
    window.setPalette(palette);
    auto* button = new FaceButton(QStringLiteral("One"), FaceButton::Face::plain, &window);
    auto* other = new FaceButton(QStringLiteral("Two"), FaceButton::Face::plain, &window);
    column.addWidget(button, 0, Qt::AlignLeft);
    column.addWidget(other, 0, Qt::AlignLeft);
    showWindow(window);
    other->setFocus(Qt::OtherFocusReason);
    press(*other, Qt::Key_Backtab, Qt::ShiftModifier);
    button->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(button->showsFocus());
    const auto left = button->x();
    const auto middle = button->geometry().center().y();
    const auto image = window.grab().toImage();
    EXPECT_NE(image.pixelColor(left - 1, middle), QColor(Qt::blue));
    EXPECT_NE(image.pixelColor(left - 2, middle), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(left - 3, middle), QColor(Qt::blue));
    EXPECT_EQ(image.pixelColor(left - 4, middle), QColor(Qt::blue));
    EXPECT_NE(image.pixelColor(left - 5, middle), QColor(Qt::blue));
    button->hide(); // the focus goes on, and the ring with it
    EXPECT_TRUE(other->showsFocus());
    EXPECT_GT(pixelsOf(window.grab().toImage(), Qt::blue), 50);
    delete button;
    delete other;
    EXPECT_EQ(pixelsOf(window.grab().toImage(), Qt::blue), 0);
}

TEST_F(ButtonsTest, TheRingStaysInsideWhatScrolls) {
    QScrollArea area;
    auto* content = new QWidget;
    auto* button = new RowButton(content);
    button->setGeometry(0, 0, 200, 28);
    content->resize(200, 400);
    area.setWidget(content);
    area.resize(260, 100);
    showWindow(area);
    press(area, Qt::Key_Tab);
    button->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(button->showsFocus());
    for (const auto* each : content->findChildren<QWidget*>()) {
        EXPECT_TRUE(content->rect().contains(each->geometry()));
    }
    EXPECT_EQ(content->findChildren<QWidget*>().size(), 2);
}

TEST_F(ButtonsTest, TheDefaultButtonTakesEnterFromWhatHasNoUseForIt) {
    auto& done = addFace(QStringLiteral("Done"));
    int others = 0;
    auto* other = new FaceButton(QStringLiteral("Other"), FaceButton::Face::plain, &window);
    QObject::connect(other, &QAbstractButton::clicked, other, [&] { ++others; });
    done.setIsDefault();
    showWindow(window);
    // A shortcut of the window asks first; a button that wants the key says so.
    QKeyEvent asks(QEvent::ShortcutOverride, Qt::Key_Return, Qt::NoModifier);
    asks.ignore();
    QApplication::sendEvent(other, &asks);
    EXPECT_TRUE(asks.isAccepted());
    press(*other, Qt::Key_Return);
    EXPECT_EQ(others, 1);
    EXPECT_EQ(presses, 0);
}

TEST_F(ButtonsTest, WearTheirColours) {
    auto& stop = addFace(QStringLiteral("Stop camera and microphone"), FaceButton::Face::stop);
    auto& prominent = addFace(QStringLiteral("Continue"), FaceButton::Face::prominent);
    auto& destructive = addFace(QStringLiteral("mmmmmmmm"), FaceButton::Face::destructive);
    auto& link = add(new LinkButton(QStringLiteral("mmmmmmmm"), &window));
    link.setDestructive(true);
    showWindow(window);
    const ScreenColors colors(window.palette());
    const auto faceOf = [](QWidget& widget) {
        return widget.grab().toImage().pixelColor(12, 4);
    };
    EXPECT_EQ(faceOf(stop), QColor(0xf9, 0xd8, 0x4a));
    EXPECT_EQ(faceOf(prominent), colors.highlight);
    EXPECT_NE(faceOf(destructive), colors.warning);
    EXPECT_GT(pixelsOf(destructive.grab().toImage(), colors.warning), 5);
    EXPECT_GT(pixelsOf(link.grab().toImage(), colors.warning), 5);
}

TEST_F(ButtonsTest, AreWashedUnderTheMouse) {
    auto& row = add(new RowButton(&window));
    window.resize(200, 100);
    showWindow(window);
    const auto middle = [&] {
        return row.grab().toImage().pixelColor(row.width() / 2, row.height() / 2);
    };
    const auto before = middle();
    QHoverEvent enters(QEvent::HoverEnter, QPointF(5, 5), QPointF(-1, -1), QPointF(-1, -1));
    QApplication::sendEvent(&row, &enters);
    EXPECT_NE(middle(), before);
    QHoverEvent leaves(QEvent::HoverLeave, QPointF(-1, -1), QPointF(-1, -1), QPointF(5, 5));
    QApplication::sendEvent(&row, &leaves);
    EXPECT_EQ(middle(), before);
}

TEST_F(ButtonsTest, ABarCrossesASymbol) {
    auto& symbol = add(new SymbolButton(QStringLiteral("checkmark.shield.fill"), 22, 36, &window));
    showWindow(window);
    const auto plain = symbol.grab().toImage();
    symbol.setCrossed(true);
    EXPECT_TRUE(symbol.isCrossed());
    const auto crossed = symbol.grab().toImage();
    EXPECT_NE(plain, crossed);
    // From the upper left to the lower right, in the middle of a trough of the window's colour.
    EXPECT_EQ(crossed.pixel(18, 18), ScreenColors(window.palette()).secondary.rgb());
    symbol.setCrossed(false);
    EXPECT_EQ(symbol.grab().toImage(), plain);
}

TEST_F(ButtonsTest, AWholeRowIsTheTarget) {
    auto& row = add(new RowButton(&window));
    auto* inside = new QHBoxLayout(&row);
    auto* label = new LineLabel(QStringLiteral("Zoom"), TextStyle::body, Ink::text, &row);
    inside->addWidget(label);
    window.resize(300, 60);
    showWindow(window);
    EXPECT_GE(row.height(), 28);
    EXPECT_TRUE(label->testAttribute(Qt::WA_TransparentForMouseEvents));
    EXPECT_EQ(window.childAt(label->mapTo(&window, label->rect().center())), &row);
}

TEST_F(ButtonsTest, ALongTitleIsCutAndToldInTheToolTip) {
    const QString name(400, QLatin1Char('m'));
    auto& face = addFace(name);
    auto& link = add(new LinkButton(name, &window));
    EXPECT_LE(face.sizeHint().width(), 480);
    window.resize(200, 100);
    showWindow(window);
    EXPECT_EQ(face.toolTip(), name);
    EXPECT_EQ(link.toolTip(), name);
    EXPECT_EQ(nameOf(face), name.toStdString());
}

TEST_F(ButtonsTest, AToolTipComesAndGoesWithWhatIsCut) {
    const QString name(60, QLatin1Char('m'));
    auto& face = addFace(QStringLiteral("Stop"));
    auto& link = add(new LinkButton(QStringLiteral("History"), &window));
    window.resize(200, 100);
    showWindow(window);
    for (auto* each : std::initializer_list<Button*>{&face, &link}) {
        each->setFixedWidth(120);
        EXPECT_EQ(each->toolTip(), QString());
        each->setPlain(name);
        EXPECT_EQ(each->toolTip(), name) << "without a resize";
        each->setPlain(QStringLiteral("Short"));
        EXPECT_EQ(each->toolTip(), QString()) << "nothing is cut any more";
        auto larger = each->font();
        larger.setPointSizeF(larger.pointSizeF() * 6);
        each->setFont(larger);
        EXPECT_EQ(each->toolTip(), QStringLiteral("Short"));
        each->setFont({});
        EXPECT_EQ(each->toolTip(), QString());
        each->setToolTip(QStringLiteral("Help"));
        each->setPlain(name);
        EXPECT_EQ(each->toolTip(), QStringLiteral("Help")) << "what the caller says comes first";
    }
}

TEST_F(ButtonsTest, AFaceKeepsBothEndsOfWhatItDoes) {
    auto& face =
        addFace(QStringLiteral("Keep ") + QString(60, QLatin1Char('m')) + QStringLiteral(" open"));
    auto& other =
        addFace(QStringLiteral("Keep ") + QString(60, QLatin1Char('m')) + QStringLiteral(" shut"));
    for (auto* each : {&face, &other}) {
        each->setFixedWidth(200);
    }
    showWindow(window);
    EXPECT_NE(face.grab().toImage(), other.grab().toImage());
}

TEST_F(ButtonsTest, TheFocusIsSeenAgainAfterAnotherWindow) {
    auto& link = add(new LinkButton(QStringLiteral("History"), &window));
    showWindow(window);
    link.setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(link.showsFocus());
    {
        QWidget other;
        auto* inside = new LinkButton(QStringLiteral("Inside"), &other);
        showWindow(other);
        inside->setFocus(Qt::TabFocusReason);
        ASSERT_TRUE(inside->showsFocus());
    }
    window.activateWindow();
    QApplication::processEvents();
    EXPECT_TRUE(link.hasFocus());
    EXPECT_TRUE(link.showsFocus());
}

} // namespace
} // namespace velmoran
