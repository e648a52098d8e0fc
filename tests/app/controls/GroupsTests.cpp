#include "app/controls/Choices.h"
#include "app/controls/ControlInput.h"
#include "app/controls/Groups.h"
#include "support/AccessibleButton.h"

#include <QPointer>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using namespace testing;
using support::buttonNamed;

TEST(EmptyState, SaysWhyThereIsNothing) {
    EmptyState empty(QStringLiteral("eye"), QStringLiteral("No reports yet"),
                     QStringLiteral("A report appears here."), nullptr);
    empty.resize(500, 400);
    showWindow(empty);
    EXPECT_EQ(roleOf(empty), QAccessible::Grouping);
    EXPECT_EQ(nameOf(empty), "No reports yet");
    const auto texts = empty.findChildren<TextLabel*>();
    ASSERT_EQ(texts.size(), 2);
    EXPECT_EQ(texts[0]->text(), QStringLiteral("No reports yet"));
    EXPECT_EQ(texts[1]->text(), QStringLiteral("A report appears here."));
    // In the middle, one under the other.
    const auto* symbol = empty.findChild<SymbolLabel*>();
    EXPECT_NEAR(symbol->geometry().center().x(), 250, 2);
    EXPECT_NEAR(texts[0]->geometry().center().x(), 250, 2);
    EXPECT_LT(symbol->geometry().bottom(), texts[0]->y());
    EXPECT_LT(texts[0]->geometry().bottom(), texts[1]->y());
    EXPECT_NEAR((symbol->y() + texts[1]->geometry().bottom()) / 2.0, 200, 4);
}

struct DisclosureTest : ::testing::Test {
    QWidget window;
    TextLabel* content =
        new TextLabel(QStringLiteral("Bundle ID: us.zoom"), TextStyle::body, Ink::text, nullptr);
    Disclosure disclosure{QStringLiteral("Technical details"), content, &window};
    int folds = 0;

    void SetUp() override {
        disclosure.onFold = [this] {
            ++folds;
        };
        disclosure.resize(300, 100);
        showWindow(window);
    }
};

TEST_F(DisclosureTest, OpensAndFoldsByMouseAndKeyboard) {
    EXPECT_FALSE(disclosure.isOpen());
    EXPECT_FALSE(content->isVisible());
    click(*disclosure.heading());
    EXPECT_TRUE(disclosure.isOpen());
    EXPECT_TRUE(content->isVisible());
    press(*disclosure.heading(), Qt::Key_Return);
    EXPECT_FALSE(content->isVisible());
    EXPECT_EQ(folds, 2);
    disclosure.setOpen(false);
    EXPECT_EQ(folds, 2);
}

TEST_F(DisclosureTest, SaysToAScreenReaderWhetherItIsOpen) {
    auto& heading = *disclosure.heading();
    EXPECT_EQ(roleOf(heading), QAccessible::Button);
    EXPECT_EQ(nameOf(heading), "Technical details");
    EXPECT_TRUE(stateOf(heading).expandable);
    EXPECT_TRUE(stateOf(heading).collapsed);
    auto* actions = QAccessible::queryAccessibleInterface(&heading)->actionInterface();
    ASSERT_TRUE(actions);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(disclosure.isOpen());
    EXPECT_TRUE(stateOf(heading).expanded);
    EXPECT_FALSE(stateOf(heading).collapsed);
}

TEST(FormSection, PutsHairlinesBetweenItsLines) {
    FormSection section(QStringLiteral("History"), nullptr);
    const auto line = [&] {
        return new FormRow(QStringLiteral("Title"), {}, new Switch({}, &section), &section);
    };
    auto* first = line();
    auto* last = line();
    auto* note =
        new TextLabel(QStringLiteral("Note"), TextStyle::caption, Ink::secondary, &section);
    section.setLines({{first}, {line()}, {note, false}, {last}});
    EXPECT_EQ(section.findChildren<Hairline*>().size(), 2);
    EXPECT_EQ(roleOf(section), QAccessible::Grouping);
    EXPECT_EQ(nameOf(section), "History");
    section.setLines({{last}, {first}});
    EXPECT_EQ(section.findChildren<Hairline*>().size(), 1);
    EXPECT_TRUE(note->isHidden());
    section.show();
    QApplication::processEvents();
    EXPECT_LT(last->y(), first->y());
    section.setLines({});
    EXPECT_TRUE(section.findChildren<Hairline*>().isEmpty());
    EXPECT_TRUE(first->isHidden());
    section.add(line());
    EXPECT_TRUE(section.findChildren<Hairline*>().isEmpty());
}

struct QuestionTest : ::testing::Test {
    QWidget window;
    int answers = 0;
    QPointer<QDialog> dialog;

    void SetUp() override { showWindow(window); }
    void askToDistrust(bool isDestructive = true) {
        dialog = ask(&window,
                     {.title = QStringLiteral("Stop trusting <b>Zoom</b>?"),
                      .message = QStringLiteral("Zoom keeps working."),
                      .confirm = QStringLiteral("Distrust"),
                      .isDestructive = isDestructive},
                     [this] { ++answers; });
        QApplication::processEvents();
    }
    QAbstractButton& button(const char* name) { return *buttonNamed(*dialog, name); }
    void settle() {
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
};

TEST_F(QuestionTest, StandsInFrontOfItsWindowAndLetsTheProgramGoOn) {
    askToDistrust();
    ASSERT_TRUE(dialog);
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_TRUE(dialog->isModal());
    EXPECT_EQ(dialog->parentWidget(), &window);
    EXPECT_EQ(nameOf(*dialog), "Stop trusting <b>Zoom</b>?");
    EXPECT_EQ(dialog->accessibleDescription(), QStringLiteral("Zoom keeps working."));
    EXPECT_EQ(answers, 0);
}

TEST_F(QuestionTest, IsConfirmedOnce) {
    askToDistrust();
    click(button("Distrust"));
    settle();
    EXPECT_EQ(answers, 1);
    EXPECT_FALSE(dialog);
}

TEST_F(QuestionTest, CancelEscapeAndClosingDoNothing) {
    askToDistrust();
    click(button("Cancel"));
    settle();
    EXPECT_FALSE(dialog);
    askToDistrust();
    press(*dialog, Qt::Key_Escape);
    settle();
    EXPECT_FALSE(dialog);
    askToDistrust();
    dialog->close();
    settle();
    EXPECT_FALSE(dialog);
    EXPECT_EQ(answers, 0);
}

TEST_F(QuestionTest, EnterConfirmsOnlyWhatDestroysNothing) {
    askToDistrust(true);
    ASSERT_TRUE(dialog->focusWidget());
    EXPECT_EQ(nameOf(*dialog->focusWidget()), "Cancel");
    press(*dialog->focusWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(answers, 0);
    askToDistrust(false);
    press(*dialog->focusWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(answers, 1);
}

TEST_F(QuestionTest, GoesWithItsWindow) {
    auto* other = new QWidget;
    showWindow(*other);
    dialog =
        ask(other,
            {.title = QStringLiteral("Trust?"), .message = {}, .confirm = QStringLiteral("Trust")},
            [this] { ++answers; });
    delete other;
    EXPECT_FALSE(dialog);
    EXPECT_EQ(answers, 0);
}

TEST_F(QuestionTest, EndsUnansweredWithWhatItIsAbout) {
    for (const bool isHidden : {true, false}) {
        QPointer<QWidget> part = new QWidget(&window);
        part->show();
        dialog = ask(part,
                     {.title = QStringLiteral("Delete?"),
                      .message = {},
                      .confirm = QStringLiteral("Delete")},
                     [this] { ++answers; });
        QApplication::processEvents();
        ASSERT_TRUE(dialog->isVisible());
        if (isHidden) {
            part->hide();
        } else {
            delete part;
        }
        EXPECT_FALSE(dialog->isVisible());
        // As a screen reader could, before it is deleted.
        button("Delete").click();
        settle();
        EXPECT_FALSE(dialog);
        EXPECT_EQ(answers, 0) << isHidden;
        delete part;
    }
}

TEST_F(QuestionTest, MayTakeItsWindowAwayByItsAnswer) {
    auto* other = new QWidget;
    showWindow(*other);
    const QPointer gone(other);
    dialog =
        ask(other,
            {.title = QStringLiteral("Close?"), .message = {}, .confirm = QStringLiteral("Close")},
            [&] {
                ++answers;
                other->deleteLater();
            });
    QApplication::processEvents();
    click(button("Close"));
    settle();
    EXPECT_EQ(answers, 1);
    EXPECT_FALSE(gone);
}

TEST_F(QuestionTest, AQuestionWithALongNameStaysSmall) {
    const QString name(10000, QLatin1Char('m'));
    dialog = ask(&window, {.title = name, .message = name, .confirm = name}, [] {});
    QApplication::processEvents();
    EXPECT_LE(dialog->width(), 700);
    EXPECT_LE(dialog->height(), 500);
    dialog->close();
    settle();
}

TEST(Note, HangsAtItsControlAndGoesWithEscape) {
    QWidget window;
    FaceButton button(QStringLiteral("About"), FaceButton::Face::plain, &window);
    showWindow(window);
    auto* text = new TextLabel(QStringLiteral("Two faster ways to stop"), TextStyle::body,
                               Ink::text, nullptr);
    const QPointer note(showNote(&button, text));
    QApplication::processEvents();
    ASSERT_TRUE(note);
    EXPECT_TRUE(note->isVisible());
    EXPECT_TRUE(note->isAncestorOf(text));
    EXPECT_EQ(note->windowType(), Qt::Popup);
    press(*note, Qt::Key_Escape);
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(note);
}

} // namespace
} // namespace velmoran
