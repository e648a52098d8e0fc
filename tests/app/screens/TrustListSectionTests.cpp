#include "app/controls/ControlInput.h"
#include "app/screens/SettingsFixture.h"
#include "app/screens/TrustListSection.h"

#include <QKeyEvent>
#include <QPointer>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::velmoran::testing::appNamed;
using ::velmoran::testing::button;
using ::velmoran::testing::says;
using ::velmoran::testing::SettingsFixture;

constexpr const char* siriPath = "/System/Library/corespeechd";

struct TrustListSectionTest : SettingsFixture {
    TrustListSectionTest() {
        machine.script.signingIDs[siriPath] = "com.apple.corespeechd";
        launch();
        siri.path = siriPath;
    }

    AppIdentity meet = appNamed("Meet");
    AppIdentity siri = appNamed("Siri");

    const QWidget& list(const char* name) const {
        const auto* found = view->findChild<QWidget*>(QString::fromLatin1(name));
        if (!found) {
            throw std::runtime_error("no such list");
        }
        return *found;
    }
    const QWidget& trusted() const { return list("trustedApps"); }
    const QWidget& warning() const { return list("alwaysWarningApps"); }
};

TEST_F(TrustListSectionTest, SaysHowToAddAnApp) {
    show();
    EXPECT_TRUE(says(trusted(), "Trusted apps"));
    EXPECT_TRUE(
        says(trusted(), "No trusted apps yet. Choose \"Trust this app\" on a notice to add one."));
    EXPECT_TRUE(says(warning(), "Always warn"));
    EXPECT_TRUE(says(warning(), "No apps here yet. You can add one from an event's details."));
}

TEST_F(TrustListSectionTest, FollowsWhatIsDecidedElsewhere) {
    show();
    model->setTrusted(true, meet, {Device::microphone, Device::camera});
    QApplication::processEvents();
    EXPECT_TRUE(says(trusted(), "Meet"));
    EXPECT_TRUE(says(trusted(), "camera, microphone"));
    EXPECT_FALSE(says(warning(), "Meet"));
    model->setAlwaysWarn(true, meet, {Device::camera});
    QApplication::processEvents();
    EXPECT_TRUE(says(warning(), "Meet"));
    EXPECT_TRUE(says(warning(), "camera"));
    model->setTrusted(false, meet, {Device::microphone, Device::camera});
    QApplication::processEvents();
    EXPECT_FALSE(says(trusted(), "Meet"));
    EXPECT_TRUE(says(warning(), "Meet"));
}

TEST_F(TrustListSectionTest, DistrustsOnlyAfterAQuestion) {
    model->setTrusted(true, meet, {Device::camera, Device::microphone});
    model->setAlwaysWarn(true, meet, {Device::microphone});
    show();
    auto* distrust = button(trusted(), "Distrust");
    ASSERT_TRUE(distrust);
    EXPECT_EQ(distrust->accessibleDescription(), "Distrust Meet");
    distrust->click();
    ASSERT_TRUE(question());
    EXPECT_TRUE(says(*question(), "Stop trusting Meet?"));
    EXPECT_TRUE(says(*question(), "Meet keeps working. Velmoran will show a notice again the next "
                                  "time it uses the camera and microphone."));
    answer("Cancel");
    EXPECT_TRUE(model->trust->isTrusted(meet, Device::camera));
    button(trusted(), "Distrust")->click();
    answer("Distrust");
    EXPECT_FALSE(model->trust->isTrusted(meet, Device::camera));
    EXPECT_FALSE(model->trust->isTrusted(meet, Device::microphone));
    EXPECT_TRUE(model->trust->alwaysWarns(meet, Device::microphone)) << "another decision";
    EXPECT_FALSE(says(trusted(), "Meet"));
}

TEST_F(TrustListSectionTest, RemovesFromTheAlwaysWarningAtOnce) {
    model->setTrusted(true, meet, {Device::camera});
    model->setAlwaysWarn(true, meet, {Device::camera});
    show();
    auto* remove = button(warning(), "Remove");
    ASSERT_TRUE(remove);
    EXPECT_EQ(remove->accessibleDescription(), "Remove Meet");
    remove->click();
    QApplication::processEvents();
    EXPECT_FALSE(question());
    EXPECT_FALSE(model->trust->alwaysWarns(meet, Device::camera));
    EXPECT_TRUE(model->trust->isTrusted(meet, Device::camera)) << "another decision";
    EXPECT_FALSE(says(warning(), "Meet"));
}

TEST_F(TrustListSectionTest, StopsNobody) {
    launchWatching();
    receive(camera({velmoran::testing::appRef("Meet")}));
    model->setTrusted(true, meet, {Device::camera});
    show();
    button(trusted(), "Distrust")->click();
    answer("Distrust");
    EXPECT_EQ(model->openSessions->size(), 1U);
    EXPECT_FALSE(*model->isStopping);
}

TEST_F(TrustListSectionTest, WithPartsOfTheSystemAloneShowsTheNoteAndTheSwitch) {
    model->setTrusted(true, siri, {Device::microphone});
    show();
    EXPECT_TRUE(
        says(trusted(), "No trusted apps yet. Choose \"Trust this app\" on a notice to add one."));
    auto* shows = button(trusted(), "Show macOS system processes (1)");
    ASSERT_TRUE(shows);
    EXPECT_FALSE(says(trusted(), "macOS system processes"));
    EXPECT_FALSE(button(trusted(), "Distrust"));
    shows->click();
    QApplication::processEvents();
    EXPECT_TRUE(says(trusted(), "macOS system processes"));
    EXPECT_TRUE(says(trusted(), "Siri"));
    button(trusted(), "Distrust")->click();
    EXPECT_TRUE(says(*question(),
                     "Siri is part of macOS. Listens for “Hey Siri” and voice commands, and runs "
                     "dictation. It often turns the microphone on for a second or two. It keeps "
                     "working either way. Velmoran will only show a notice again the next time it "
                     "uses the microphone under its own name."));
    answer("Distrust");
    EXPECT_FALSE(model->trust->isTrusted(siri, Device::microphone));
    EXPECT_FALSE(button(trusted(), "Show macOS system processes (1)"));
}

TEST_F(TrustListSectionTest, ShowsPartsOfTheSystemInBothListsAtOnce) {
    model->setTrusted(true, siri, {Device::microphone});
    model->setAlwaysWarn(true, siri, {Device::microphone});
    show();
    const auto press = [](const QWidget& list) {
        button(list, "Show macOS system processes (1)")->click();
        QApplication::processEvents();
    };
    const auto isShown = [](const QWidget& list) {
        EXPECT_EQ(button(list, "Show macOS system processes (1)")->isChecked(), says(list, "Siri"));
        return says(list, "Siri");
    };
    press(trusted());
    EXPECT_TRUE(isShown(trusted()));
    EXPECT_TRUE(isShown(warning()));
    press(warning());
    EXPECT_FALSE(isShown(trusted()));
    EXPECT_FALSE(isShown(warning()));
}

TEST_F(TrustListSectionTest, ShowsPartsOfTheSystemAlsoWhereTheyComeLater) {
    model->setTrusted(true, siri, {Device::microphone});
    show();
    button(trusted(), "Show macOS system processes (1)")->click();
    model->setAlwaysWarn(true, siri, {Device::microphone});
    QApplication::processEvents();
    EXPECT_TRUE(button(warning(), "Show macOS system processes (1)")->isChecked());
    EXPECT_TRUE(says(warning(), "Siri"));
}

TEST_F(TrustListSectionTest, AClickOnANameExplainsAPartOfTheSystem) {
    model->setTrusted(true, meet, {Device::camera});
    model->setTrusted(true, siri, {Device::microphone});
    show();
    button(trusted(), "Show macOS system processes (1)")->click();
    QApplication::processEvents();
    int explained = 0;
    for (const auto* view : velmoran::testing::allOf<AppNameView>(trusted())) {
        auto* name = velmoran::testing::allOf<LineLabel>(*view).at(0);
        const bool isPart = name->text() == QStringLiteral("Siri");
        velmoran::testing::click(*name);
        EXPECT_EQ(view->showsNote(), isPart) << name->text().toStdString();
        explained += isPart;
    }
    EXPECT_EQ(explained, 1);
}

TEST_F(TrustListSectionTest, ShowsAnyNameAsPlainText) {
    for (const auto& name : {std::string("<b>Evil</b>\n\xE2\x80\xAE & Co"), std::string(),
                             std::string(10000, 'W'), std::string("\xFF\xFE")}) {
        model->setTrusted(true, appNamed(name), {Device::camera});
    }
    show();
    EXPECT_EQ(view->width(), 480);
    const auto buttons = velmoran::testing::allOf<QAbstractButton>(trusted());
    for (const auto* each : buttons) {
        EXPECT_LE(each->mapTo(view.get(), QPoint(each->width(), 0)).x(), 480);
        EXPECT_FALSE(each->toolTip().contains(QStringLiteral("<b>")));
    }
    EXPECT_TRUE(says(trusted(), "<b>Evil</b> & Co"));
}

TEST_F(TrustListSectionTest, KeepsTheRowsWhileARuleOfAnotherListChanges) {
    model->setTrusted(true, meet, {Device::camera});
    show();
    const QPointer<QAbstractButton> before = button(trusted(), "Distrust");
    model->setAlwaysWarn(true, siri, {Device::microphone});
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(button(trusted(), "Distrust"), before.data());
}

// MARK: - The keyboard's place

struct TrustListFocus : TrustListSectionTest {
    void SetUp() override {
        for (const auto* name : {"Alpha", "Beta", "Gamma"}) {
            model->setTrusted(true, appNamed(name), {Device::camera});
        }
    }
    QAbstractButton* distrust(const std::string& name) const {
        for (auto* each : velmoran::testing::allOf<QAbstractButton>(trusted())) {
            if (each->isVisible() &&
                each->accessibleDescription().toStdString() == "Distrust " + name) {
                return each;
            }
        }
        throw std::runtime_error("no row of " + name);
    }
    /// Who the window's keyboard is at.
    std::string focused() const {
        const auto* widget = view->window()->focusWidget();
        return widget ? widget->accessibleDescription().toStdString() : "nobody";
    }
    void remove(const std::string& name) const {
        model->setTrusted(false, appNamed(name), {Device::camera});
        QApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    /// The rows by the Tab key, from where the keyboard is, until it leaves the list.
    std::vector<std::string> walked() const {
        std::vector<std::string> result{focused()};
        while (trusted().isAncestorOf(press(Qt::Key_Tab))) {
            result.push_back(focused());
        }
        return result;
    }
    QWidget* press(int key) const {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(view->window()->focusWidget(), &event);
        return view->window()->focusWidget();
    }
};

TEST_F(TrustListFocus, StaysAtItsRowWhileOthersComeAndGo) {
    show();
    auto* beta = distrust("Beta");
    beta->setFocus();
    model->setTrusted(true, appNamed("Aardvark"), {Device::camera});
    remove("Alpha");
    remove("Gamma");
    model->setTrusted(true, appNamed("Beta"), {Device::microphone});
    QApplication::processEvents();
    EXPECT_TRUE(says(trusted(), "camera, microphone"));
    EXPECT_EQ(distrust("Beta"), beta);
    EXPECT_EQ(view->window()->focusWidget(), beta);
    EXPECT_THAT(walked(), ElementsAre("Distrust Beta"));
}

TEST_F(TrustListFocus, GoesThroughTheRowsInTheirOrderHoweverLateTheyCome) {
    show();
    model->setTrusted(true, appNamed("Aardvark"), {Device::camera});
    model->setTrusted(true, appNamed("Between"), {Device::camera});
    model->setTrusted(true, siri, {Device::microphone});
    QApplication::processEvents();
    button(trusted(), "Show macOS system processes (1)")->click();
    model->setTrusted(true, appNamed("Zeta"), {Device::camera});
    QApplication::processEvents();
    distrust("Aardvark")->setFocus();
    EXPECT_THAT(walked(), ElementsAre("Distrust Aardvark", "Distrust Alpha", "Distrust Beta",
                                      "Distrust Between", "Distrust Gamma", "Distrust Zeta",
                                      "Click a name to see what it is.", "", "Distrust Siri"));
}

TEST_F(TrustListFocus, GoesToTheNextRowThenToTheOneBefore) {
    show();
    distrust("Beta")->setFocus();
    remove("Beta");
    EXPECT_EQ(focused(), "Distrust Gamma");
    remove("Gamma");
    EXPECT_EQ(focused(), "Distrust Alpha");
}

TEST_F(TrustListFocus, GoesFromTheLastRowToWhatTheListStillHas) {
    model->setTrusted(true, siri, {Device::microphone});
    show();
    distrust("Beta")->setFocus();
    remove("Alpha");
    remove("Beta");
    remove("Gamma");
    EXPECT_EQ(view->window()->focusWidget(), button(trusted(), "Show macOS system processes (1)"));
}

TEST_F(TrustListFocus, GoesFromTheLastOfAllToTheNextControl) {
    model->setAlwaysWarn(true, meet, {Device::camera});
    show();
    distrust("Alpha")->setFocus();
    for (const auto* name : {"Alpha", "Beta", "Gamma"}) {
        remove(name);
    }
    EXPECT_EQ(view->window()->focusWidget(), button(warning(), "Remove"));
}

TEST_F(TrustListFocus, IsSeenAgainWhenTheQuestionHasTakenTheRow) {
    show();
    view->activateWindow();
    QApplication::processEvents();
    distrust("Alpha")->setFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    QKeyEvent up(QEvent::KeyRelease, Qt::Key_Space, Qt::NoModifier);
    QApplication::sendEvent(distrust("Alpha"), &up);
    QApplication::processEvents();
    ASSERT_TRUE(question());
    auto* confirm = dynamic_cast<Button*>(button(*question(), "Distrust"));
    confirm->setFocus(Qt::TabFocusReason);
    ASSERT_TRUE(confirm->showsFocus());
    answer("Distrust");
    view->activateWindow();
    QApplication::processEvents();
    EXPECT_EQ(focused(), "Distrust Beta");
    EXPECT_TRUE(dynamic_cast<Button*>(distrust("Beta"))->showsFocus());
}

TEST_F(TrustListFocus, IsLeftAloneWhereItIsElsewhere) {
    show();
    auto* sound = &toggle("Warning sound");
    sound->setFocus();
    remove("Alpha");
    EXPECT_EQ(view->window()->focusWidget(), sound);
}

} // namespace
} // namespace velmoran
