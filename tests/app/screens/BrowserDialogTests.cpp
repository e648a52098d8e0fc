#include "app/model/ModelFixture.h"
#include "app/screens/BrowserDialog.h"
#include "app/shell/AppDelegate.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

struct BrowserDialogTest : ::testing::Test {
    BrowserDialog dialog;
    std::vector<BrowserAnswer> answers;
    ShownQuestion shown;

    void ask(const BrowserQuestion& question) {
        auto next =
            dialog.ask(question, [this](BrowserAnswer answer) { answers.push_back(answer); });
        if (next.raise) {
            shown = std::move(next);
        }
    }

    std::vector<QAbstractButton*> buttons() const {
        const auto found = dialog.window()->findChildren<QAbstractButton*>();
        return {found.begin(), found.end()};
    }

    std::vector<std::string> titles() const {
        std::vector<std::string> result;
        for (const auto* each : buttons()) {
            result.push_back(each->text().toStdString());
        }
        return result;
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        for (const auto* each : dialog.window()->findChildren<QLabel*>()) {
            if (!each->text().isEmpty()) {
                result.push_back(each->text().toStdString());
            }
        }
        return result;
    }

    void type(int key) const {
        auto* to = dialog.window()->focusWidget() ? dialog.window()->focusWidget()
                                                  : static_cast<QWidget*>(dialog.window());
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(to, &event);
    }
};

TEST_F(BrowserDialogTest, AsksInTheQuestionsWords) {
    const BrowserQuestion question{.browsers = {"Firefox", "Chromium"}, .keepOffered = true};
    ask(question);
    ASSERT_TRUE(dialog.window());
    EXPECT_TRUE(dialog.window()->isVisible());
    EXPECT_THAT(texts(), ElementsAre(question.message(), question.text()));
    EXPECT_THAT(titles(), ElementsAre("Close Firefox and Chromium",
                                      "Stop the rest, keep Firefox and Chromium open", "Cancel"));
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(BrowserDialogTest, OffersToKeepOnlyWhereThatIsPossible) {
    ask({.browsers = {"Firefox"}, .keepOffered = false});
    EXPECT_THAT(titles(), ElementsAre("Close Firefox", "Cancel"));
}

TEST_F(BrowserDialogTest, EachButtonGivesItsAnswerAndTakesTheWindowAway) {
    const BrowserAnswer wanted[] = {BrowserAnswer::close, BrowserAnswer::keep,
                                    BrowserAnswer::cancel};
    for (std::size_t i = 0; i < 3; ++i) {
        ask({.browsers = {"Firefox"}, .keepOffered = true});
        buttons()[i]->click();
        EXPECT_EQ(dialog.window(), nullptr);
        ASSERT_THAT(answers, SizeIs(i + 1));
        EXPECT_EQ(answers.back(), wanted[i]);
    }
}

TEST_F(BrowserDialogTest, EscapeCancels) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    type(Qt::Key_Escape);
    EXPECT_THAT(answers, ElementsAre(BrowserAnswer::cancel));
}

TEST_F(BrowserDialogTest, ClosingTheWindowCancels) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    dialog.window()->close();
    EXPECT_THAT(answers, ElementsAre(BrowserAnswer::cancel));
    EXPECT_EQ(dialog.window(), nullptr);
}

TEST_F(BrowserDialogTest, EnterByItselfClosesNoBrowser) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    EXPECT_EQ(dialog.window()->focusWidget(), buttons()[2]);
    type(Qt::Key_Return);
    EXPECT_THAT(answers, ElementsAre(BrowserAnswer::cancel));
}

TEST_F(BrowserDialogTest, EnterOnAChosenButtonIsThatButton) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    buttons()[0]->setFocus();
    type(Qt::Key_Return);
    EXPECT_THAT(answers, ElementsAre(BrowserAnswer::close));
}

TEST_F(BrowserDialogTest, ASecondQuestionIsCancelledAndTheFirstStays) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    const auto* first = dialog.window();
    ask({.browsers = {"Chromium"}, .keepOffered = true});
    EXPECT_THAT(answers, ElementsAre(BrowserAnswer::cancel));
    EXPECT_EQ(dialog.window(), first);
    EXPECT_EQ(titles().front(), "Close Firefox");
}

TEST_F(BrowserDialogTest, AnAnswerMayBringTheNextQuestion) {
    const auto first = dialog.ask({.browsers = {"Firefox"}, .keepOffered = false}, [this](auto) {
        ask({.browsers = {"Chromium"}, .keepOffered = false});
    });
    buttons()[0]->click();
    ASSERT_TRUE(dialog.window());
    EXPECT_EQ(titles().front(), "Close Chromium");
}

TEST_F(BrowserDialogTest, ComesBackToTheFrontFromWhereverItIs) {
    ask({.browsers = {"Firefox"}, .keepOffered = false});
    dialog.window()->showMinimized();
    QWidget other;
    other.show();
    other.activateWindow();
    shown.raise();
    EXPECT_FALSE(dialog.window()->isMinimized());
    QApplication::processEvents();
    EXPECT_TRUE(dialog.window()->isActiveWindow());
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(BrowserDialogTest, GoesWithoutAnAnswerWhenItIsTakenBack) {
    ask({.browsers = {"Firefox"}, .keepOffered = false});
    const QPointer window = dialog.window();
    shown.shown.reset();
    EXPECT_EQ(dialog.window(), nullptr);
    EXPECT_FALSE(window->isVisible());
    EXPECT_THAT(answers, IsEmpty());
    shown.raise(); // nothing to raise any more
    EXPECT_EQ(dialog.window(), nullptr);
}

TEST_F(BrowserDialogTest, LeavesNothingBehindThatComesLater) {
    QPointer<QDialog> window;
    {
        BrowserDialog gone;
        auto question = gone.ask({.browsers = {"Firefox"}, .keepOffered = true}, [](auto) {});
        window = gone.window();
        question.shown.reset();
    }
    EXPECT_FALSE(window) << "it would ask for the focus in a moment";
}

TEST_F(BrowserDialogTest, TakingBackAnAnsweredQuestionLeavesTheNextOne) {
    ask({.browsers = {"Firefox"}, .keepOffered = false});
    auto first = std::move(shown);
    buttons()[0]->click();
    ask({.browsers = {"Chromium"}, .keepOffered = false});
    first.shown.reset();
    ASSERT_TRUE(dialog.window());
    EXPECT_EQ(titles().front(), "Close Chromium");
}

TEST_F(BrowserDialogTest, BlocksNothingElse) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    EXPECT_NE(dialog.window()->windowModality(), Qt::ApplicationModal);
}

TEST_F(BrowserDialogTest, ANameCanNeitherWidenItNorTakeAKeyNorWriteALine) {
    ask({.browsers = {"Firefox"}, .keepOffered = true});
    const auto usual = dialog.window()->sizeHint();
    buttons()[2]->click();
    ask({.browsers = {std::string(4000, 'm') + "\nAll is well & quiet"}, .keepOffered = true});
    EXPECT_EQ(dialog.window()->sizeHint().width(), usual.width());
    EXPECT_LT(dialog.window()->sizeHint().height(), 700);
    EXPECT_EQ(dialog.window()->accessibleName().count(QLatin1Char('\n')), 0);
    buttons()[2]->click();
    ask({.browsers = {"This & That"}, .keepOffered = false});
    EXPECT_EQ(titles().front(), "Close This && That");
    EXPECT_EQ(QAccessible::queryAccessibleInterface(buttons()[0])->text(QAccessible::Name),
              "Close This & That");
}

TEST_F(BrowserDialogTest, AnOpenQuestionIsNotAnsweredAtTheEnd) {
    {
        BrowserDialog gone;
        const auto unanswered =
            gone.ask({.browsers = {"Firefox"}, .keepOffered = true},
                     [this](BrowserAnswer answer) { answers.push_back(answer); });
    }
    EXPECT_THAT(answers, IsEmpty());
}

/// The program with a browser that uses the camera.
struct BrowserInUse : testing::ModelFixture {
    AppDelegate delegate{ModelSurroundings{machine, time, time, settings,
                                           [this] {
                                               return store;
                                           }},
                         AppPicture(), AppDelegate::Outside{}};

    void SetUp() override {
        machine.script.browsers = {"org.example.Firefox"};
        delegate.didFinishLaunching({.isUnasked = true});
        delegate.model().receive({});
        delegate.model().receive(camera({testing::appRef("Firefox")}));
        time.runPosted();
    }

    void click(std::size_t button) {
        delegate.browserDialog()
            .window()
            ->findChildren<QAbstractButton*>()
            .at(static_cast<qsizetype>(button))
            ->click();
    }
};

TEST_F(BrowserInUse, IsAskedAboutAndClosedOnlyThen) {
    delegate.model().stopEverything();
    ASSERT_TRUE(delegate.browserDialog().window());
    EXPECT_FALSE(*delegate.model().isStopping);
    click(0);
    EXPECT_TRUE(*delegate.model().isStopping);
    time.advanceBy(5);
    EXPECT_EQ(delegate.model().notices.items().back().title,
              "Microphone muted. Firefox was closed.");
}

TEST_F(BrowserInUse, CancellingStopsNothing) {
    delegate.model().stopEverything();
    click(2);
    EXPECT_FALSE(*delegate.model().isStopping);
    EXPECT_FALSE(*delegate.model().settings.microphoneMuted);
}

TEST_F(BrowserInUse, ASecondPressLeavesOneQuestion) {
    delegate.model().stopEverything();
    const auto* first = delegate.browserDialog().window();
    delegate.model().stopEverything();
    EXPECT_EQ(delegate.browserDialog().window(), first);
    click(1);
    time.advanceBy(5);
    EXPECT_EQ(delegate.browserDialog().window(), nullptr);
    EXPECT_TRUE(*delegate.model().settings.microphoneMuted);
}

TEST_F(BrowserInUse, IsAskedAboutUntilThePersonAnswersAlsoWhenItHasEnded) {
    delegate.model().stopEverything();
    delegate.model().receive({});
    time.advanceBy(60);
    ASSERT_TRUE(delegate.browserDialog().window());
    EXPECT_FALSE(*delegate.model().settings.microphoneMuted);
    click(0);
    time.advanceBy(5);
    EXPECT_EQ(delegate.browserDialog().window(), nullptr);
    EXPECT_EQ(delegate.model().notices.items().back().title,
              "Microphone muted. No app was using the camera or microphone.");
}

TEST_F(BrowserInUse, IsNotAskedAboutWhereTheUserDoesNotWantThat) {
    delegate.model().settings.confirmClosingBrowser.set(false);
    delegate.model().stopEverything();
    EXPECT_EQ(delegate.browserDialog().window(), nullptr);
    EXPECT_TRUE(*delegate.model().isStopping);
}

} // namespace
} // namespace velmoran
