#include "app/screens/OnboardingView.h"

#include "app/screens/SettingsFixture.h"

#include <QLabel>
#include <gmock/gmock.h>
#include <set>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::velmoran::testing::button;
using ::velmoran::testing::says;
using ::velmoran::testing::SettingsFixture;

struct OnboardingViewTest : SettingsFixture {
    int finished = 0;
    std::unique_ptr<OnboardingView> window;

    void open() {
        launch();
        window = std::make_unique<OnboardingView>(context(), loginItem, [this] { ++finished; });
        window->resize(window->sizeHint());
        window->show();
        QApplication::processEvents();
    }

    void TearDown() override { window.reset(); }

    void click(const char* name) const {
        auto* found = button(*window, name);
        ASSERT_TRUE(found) << name;
        found->click();
        QApplication::processEvents();
    }

    void goToTheLastStep() const {
        for (int i = 0; i < 4; ++i) {
            click("Continue");
        }
    }
};

TEST_F(OnboardingViewTest, IsAsLargeAsItShouldBe) {
    open();
    EXPECT_EQ(window->sizeHint(), QSize(460, 400));
    EXPECT_LE(window->minimumSizeHint().width(), 460);
    EXPECT_LE(window->minimumSizeHint().height(), 400);
}

TEST_F(OnboardingViewTest, KeepsEachPageInItsWindowWithTheSymbolInOnePlace) {
    open();
    std::set<int> tops;
    for (std::size_t page = 0; page <= OnboardingPages::pages().size(); ++page) {
        QApplication::processEvents();
        const auto* text = window->findChild<QLabel*>(QStringLiteral("onboardingText"));
        const auto* title = window->findChild<QLabel*>(QStringLiteral("onboardingTitle"));
        tops.insert(title->y());
        EXPECT_EQ(window->size(), QSize(460, 400)) << page;
        EXPECT_LE(window->minimumSizeHint().height(), 400) << page;
        EXPECT_GE(text->height(), text->heightForWidth(text->width())) << page;
        const bool hasParagraphs = text->text().contains(QLatin1Char('\n'));
        EXPECT_EQ(text->alignment().testFlag(Qt::AlignHCenter), !hasParagraphs) << page;
        if (page < OnboardingPages::pages().size()) {
            click("Continue");
        }
    }
    EXPECT_EQ(tops.size(), 1U) << "nothing jumps from page to page";
}

TEST_F(OnboardingViewTest, GoesThroughItsPages) {
    open();
    const auto pages = OnboardingPages::pages();
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_TRUE(says(*window, pages[i].title)) << i;
        EXPECT_TRUE(says(*window, pages[i].text)) << i;
        EXPECT_TRUE(says(*window, OnboardingPages::stepText(i, 4))) << i;
        EXPECT_EQ(button(*window, "Back") != nullptr, i > 0);
        EXPECT_FALSE(button(*window, "Open Velmoran when I log in"));
        EXPECT_FALSE(button(*window, "Done"));
        click("Continue");
    }
    EXPECT_TRUE(says(*window, "Velmoran lives here"));
    EXPECT_TRUE(says(*window, OnboardingPages::last().text));
    EXPECT_TRUE(says(*window, "Step 5 of 5"));
    EXPECT_FALSE(button(*window, "Continue"));
    ASSERT_TRUE(button(*window, "Open Velmoran when I log in"));
    EXPECT_TRUE(button(*window, "Open Velmoran when I log in")->isChecked());
}

TEST_F(OnboardingViewTest, GoesBackToo) {
    open();
    goToTheLastStep();
    for (int i = 0; i < 4; ++i) {
        click("Back");
    }
    EXPECT_TRUE(says(*window, "Know who's using your camera"));
    EXPECT_TRUE(says(*window, "Step 1 of 5"));
    EXPECT_FALSE(button(*window, "Back"));
}

TEST_F(OnboardingViewTest, IsDoneAtItsEnd) {
    open();
    goToTheLastStep();
    EXPECT_FALSE(*model->settings.onboardingDone);
    EXPECT_THAT(loginItem.asked, IsEmpty());
    click("Done");
    EXPECT_TRUE(*model->settings.onboardingDone);
    EXPECT_THAT(loginItem.asked, ElementsAre(true));
    EXPECT_EQ(finished, 1);
}

TEST_F(OnboardingViewTest, NeverTakesTheLoginItemAway) {
    loginItem.on = true;
    open();
    goToTheLastStep();
    click("Open Velmoran when I log in");
    click("Done");
    EXPECT_THAT(loginItem.asked, IsEmpty());
    EXPECT_TRUE(loginItem.on);
    EXPECT_TRUE(*model->settings.onboardingDone);
    EXPECT_EQ(finished, 1);
}

TEST_F(OnboardingViewTest, DropsARefusalWithoutAWord) {
    loginItem.refuses = true;
    open();
    goToTheLastStep();
    click("Done");
    EXPECT_TRUE(*model->settings.onboardingDone);
    EXPECT_EQ(finished, 1);
}

TEST_F(OnboardingViewTest, KeepsTheChoiceWhileGoingBackAndForth) {
    open();
    goToTheLastStep();
    click("Open Velmoran when I log in");
    click("Back");
    click("Continue");
    EXPECT_FALSE(button(*window, "Open Velmoran when I log in")->isChecked());
}

TEST_F(OnboardingViewTest, MayGoAtItsEnd) {
    launch();
    window = std::make_unique<OnboardingView>(context(), loginItem, [this] {
        window.release()->deleteLater();
        ++finished;
    });
    goToTheLastStep();
    click("Done");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(finished, 1);
}

} // namespace
} // namespace velmoran
