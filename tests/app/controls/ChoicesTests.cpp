#include "app/controls/Choices.h"
#include "app/controls/ControlInput.h"
#include "app/look/ScreenColors.h"

#include <QAbstractItemView>
#include <QVBoxLayout>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using namespace testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct SegmentsTest : ::testing::Test {
    QWidget window;
    SegmentedControl segments{QStringLiteral("View"),
                              {{QStringLiteral("List"), QStringLiteral("list.bullet")},
                               {QStringLiteral("Chart"), QStringLiteral("chart.xyaxis.line")},
                               {QStringLiteral("Away & back")}},
                              &window};
    std::vector<int> chosen;

    void SetUp() override {
        segments.onChoose = [this](int index) {
            chosen.push_back(index);
        };
        segments.resize(segments.sizeHint());
        showWindow(window);
    }
    QAbstractButton& button(int index) {
        return *segments.findChildren<QAbstractButton*>().at(index);
    }
};

TEST_F(SegmentsTest, AreAGroupOfRadioButtonsWithNames) {
    EXPECT_EQ(roleOf(segments), QAccessible::Grouping);
    EXPECT_EQ(nameOf(segments), "View");
    EXPECT_EQ(nameOf(button(0)), "List");
    EXPECT_EQ(nameOf(button(1)), "Chart");
    EXPECT_EQ(nameOf(button(2)), "Away & back");
    EXPECT_EQ(button(1).toolTip(), QStringLiteral("Chart"));
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(roleOf(button(index)), QAccessible::RadioButton);
        EXPECT_EQ(stateOf(button(index)).checked, index == 0);
    }
}

TEST_F(SegmentsTest, TellOfThePersonsChoicesAlone) {
    segments.setCurrent(2);
    EXPECT_EQ(segments.current(), 2);
    EXPECT_THAT(chosen, IsEmpty());
    click(button(1));
    click(button(1));
    EXPECT_THAT(chosen, ElementsAre(1));
    EXPECT_EQ(segments.current(), 1);
    EXPECT_TRUE(stateOf(button(1)).checked);
    EXPECT_FALSE(stateOf(button(2)).checked);
    segments.setCurrent(7);
    EXPECT_EQ(segments.current(), 1);
}

TEST_F(SegmentsTest, AreWalkedWithTheArrowKeys) {
    button(0).setFocus(Qt::TabFocusReason);
    press(button(0), Qt::Key_Right);
    EXPECT_THAT(chosen, ElementsAre(1));
    EXPECT_TRUE(button(1).hasFocus());
    press(button(1), Qt::Key_Left);
    EXPECT_THAT(chosen, ElementsAre(1, 0));
    press(button(0), Qt::Key_End);
    EXPECT_THAT(chosen, ElementsAre(1, 0, 2));
    press(button(2), Qt::Key_Home);
    EXPECT_THAT(chosen, ElementsAre(1, 0, 2, 0));
}

TEST_F(SegmentsTest, AreOneStopOfTheTabKey) {
    segments.setCurrent(1);
    int stops = 0;
    for (int index = 0; index < 3; ++index) {
        stops += (button(index).focusPolicy() & Qt::TabFocus) == Qt::TabFocus;
    }
    EXPECT_EQ(stops, 1);
    EXPECT_TRUE(button(1).focusPolicy() & Qt::TabFocus);
}

TEST_F(SegmentsTest, StandTheOtherWayRoundFromRightToLeft) {
    window.setLayoutDirection(Qt::RightToLeft);
    QApplication::processEvents();
    EXPECT_GT(button(0).x(), button(2).x());
    button(0).setFocus(Qt::TabFocusReason);
    press(button(0), Qt::Key_Left);
    EXPECT_THAT(chosen, ElementsAre(1));
}

TEST(Switch, IsACheckBoxThatAPersonCanPress) {
    QWidget window;
    Switch button(QStringLiteral("Warning sound"), &window);
    button.resize(button.sizeHint());
    std::vector<bool> clicks;
    QObject::connect(&button, &QAbstractButton::clicked, &button,
                     [&](bool on) { clicks.push_back(on); });
    showWindow(window);
    EXPECT_EQ(roleOf(button), QAccessible::CheckBox);
    EXPECT_EQ(nameOf(button), "Warning sound");
    EXPECT_FALSE(stateOf(button).checked);
    click(button);
    EXPECT_TRUE(stateOf(button).checked);
    press(button, Qt::Key_Space);
    press(button, Qt::Key_Return);
    EXPECT_THAT(clicks, ElementsAre(true, false, true));
    button.setChecked(false);
    EXPECT_FALSE(stateOf(button).checked);
    EXPECT_THAT(clicks, ElementsAre(true, false, true));
}

TEST(Switch, LooksOnWhenItIsOnAlsoBeforeItIsShown) {
    QWidget window;
    Switch on(QStringLiteral("On"), &window);
    Switch off(QStringLiteral("Off"), &window);
    on.setChecked(true);
    window.resize(200, 200);
    on.setGeometry(100, 100, 36, 20); // not where the mouse is
    off.setGeometry(100, 140, 36, 20);
    showWindow(window);
    const ScreenColors colors(window.palette());
    EXPECT_GT(pixelsOf(on.grab().toImage(), colors.highlight), 200);
    EXPECT_EQ(pixelsOf(off.grab().toImage(), colors.highlight), 0);
}

struct FormRowTest : ::testing::Test {
    QWidget window;
    QVBoxLayout column{&window};
    Switch* control = new Switch({}, &window);
    FormRow* row = new FormRow(QStringLiteral("Warning sound"),
                               QStringLiteral("Plays only for strong warnings."), control, &window);

    void SetUp() override {
        column.addWidget(row);
        window.resize(400, 100);
        showWindow(window);
    }
    TextLabel& label(int index) { return *row->findChildren<TextLabel*>().at(index); }
};

TEST_F(FormRowTest, GivesItsControlItsWords) {
    EXPECT_EQ(nameOf(*control), "Warning sound");
    EXPECT_EQ(control->accessibleDescription(), QStringLiteral("Plays only for strong warnings."));
    row->setTitle(QStringLiteral("Sound"));
    row->setNote({});
    EXPECT_EQ(nameOf(*control), "Sound");
    EXPECT_TRUE(control->accessibleDescription().isEmpty());
    EXPECT_TRUE(label(1).isHidden());
    auto* named = new Switch(QStringLiteral("Own name"), &window);
    const FormRow other(QStringLiteral("Title"), {}, named, nullptr);
    EXPECT_EQ(nameOf(*named), "Own name");
}

TEST_F(FormRowTest, AButtonKeepsTheNameThatItsTextGives) {
    auto* restart = new FaceButton(QStringLiteral("Restart now"), FaceButton::Face::plain, &window);
    auto* remove = new LinkButton(QStringLiteral("Delete all history…"), &window);
    FormRow first(QStringLiteral("Velmoran changes its language when it starts again."), {},
                  restart, &window);
    const FormRow second(QStringLiteral("Stored only on this Mac."), QStringLiteral("Note"), remove,
                         &window);
    EXPECT_EQ(nameOf(*restart), "Restart now");
    EXPECT_EQ(nameOf(*remove), "Delete all history…");
    EXPECT_EQ(remove->accessibleDescription(), QStringLiteral("Note"));
    first.setTitle(QStringLiteral("Another title"));
    EXPECT_EQ(nameOf(*restart), "Restart now");
}

TEST_F(FormRowTest, AClickOnItsTitleSwitches) {
    click(*row, label(0).geometry().center());
    EXPECT_TRUE(control->isChecked());
    click(*row, label(1).geometry().center());
    EXPECT_FALSE(control->isChecked());
    click(*row, QPoint(label(0).geometry().right() + 8, 4));
    EXPECT_FALSE(control->isChecked());
    row->setEnabled(false);
    click(*row, label(0).geometry().center());
    EXPECT_FALSE(control->isChecked());
}

TEST_F(FormRowTest, WrapsItsWordsBesideTheControl) {
    row->setNote(QStringLiteral("Several words that need more than one line, since the window is "
                                "not wide enough for so many of them."));
    EXPECT_GT(row->heightForWidth(240), row->heightForWidth(2000));
    window.resize(240, window.heightForWidth(240));
    QApplication::processEvents();
    EXPECT_GE(label(1).height(), label(1).heightForWidth(label(1).width()));
    EXPECT_LT(label(0).geometry().bottom(), label(1).y());
    EXPECT_LT(label(1).geometry().right(), control->x());
}

TEST_F(FormRowTest, IsTheLabelOfItsControlForAScreenReader) {
    auto* picker = makePicker(QStringLiteral("Language"), {QStringLiteral("English")}, &window);
    FormRow other(QStringLiteral("Language"), {}, picker, &window);
    EXPECT_EQ(picker->accessibleDescription(), QStringLiteral("Language"));
    const auto relations = QAccessible::queryAccessibleInterface(picker)->relations();
    ASSERT_EQ(relations.size(), 1);
    EXPECT_EQ(relations[0].second, QAccessible::Label);
    EXPECT_EQ(relations[0].first->text(QAccessible::Name), QStringLiteral("Language"));
    other.setNote(QStringLiteral("Counts after a restart."));
    EXPECT_EQ(picker->accessibleDescription(), QStringLiteral("Counts after a restart."));
}

TEST(Picker, HasItsNameAndPlainEntriesAndLeavesTheWheelAlone) {
    QWidget window;
    auto* picker =
        makePicker(QStringLiteral("Language"),
                   {QStringLiteral("English"), QStringLiteral("<b>Deutsch</b>\n")}, &window);
    showWindow(window);
    EXPECT_EQ(picker->accessibleName(), QStringLiteral("Language"));
    EXPECT_EQ(picker->accessibleDescription(), QStringLiteral("Language"));
    EXPECT_EQ(roleOf(*picker), QAccessible::ComboBox);
    EXPECT_EQ(picker->itemText(1), QStringLiteral("<b>Deutsch</b>"));
    QWheelEvent wheel(QPointF(5, 5), QPointF(5, 5), QPoint(0, -20), QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(picker, &wheel);
    EXPECT_EQ(picker->currentIndex(), 0);
}

TEST(Picker, KeysOpenItAndChooseNothingBefore) {
    QWidget window;
    auto* picker = makePicker(QStringLiteral("Keep history for"),
                              {QStringLiteral("30 days"), QStringLiteral("90 days"),
                               QStringLiteral("1 year"), QStringLiteral("Always")},
                              &window);
    picker->setCurrentIndex(1);
    int choices = 0;
    QObject::connect(picker, &QComboBox::activated, picker, [&] { ++choices; });
    showWindow(window);
    for (const auto key : {Qt::Key_Up, Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown, Qt::Key_Home,
                           Qt::Key_End, Qt::Key_A, Qt::Key_3, Qt::Key_Space}) {
        QKeyEvent down(QEvent::KeyPress, key, {},
                       key < Qt::Key_Escape ? QString(QChar(static_cast<char16_t>(key)))
                                            : QString());
        QApplication::sendEvent(picker, &down);
        EXPECT_EQ(picker->currentIndex(), 1) << key;
        EXPECT_TRUE(picker->view()->isVisible()) << key;
        picker->hidePopup();
        ASSERT_FALSE(picker->view()->isVisible());
    }
    EXPECT_EQ(choices, 0);
    press(*picker, Qt::Key_Up);
    press(*picker->view(), Qt::Key_Up);
    press(*picker->view(), Qt::Key_Return);
    EXPECT_EQ(picker->currentIndex(), 0);
    EXPECT_EQ(choices, 1);
}

TEST(Picker, LeavesOtherKeysToOthers) {
    QWidget window;
    auto* picker = makePicker(QStringLiteral("Language"), {QStringLiteral("English")}, &window);
    showWindow(window);
    for (const auto key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_F5}) {
        press(*picker, key);
        EXPECT_FALSE(picker->view()->isVisible()) << key;
    }
}

} // namespace
} // namespace velmoran
