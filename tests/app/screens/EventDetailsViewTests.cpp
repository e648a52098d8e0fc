#include "app/screens/EventDetailsView.h"

#include "ScreenFixture.h"
#include "core/text/Localizer.h"

#include <QImage>
#include <QKeyEvent>
#include <QListView>
#include <cstdlib>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::AllOf;
using testing::appRef;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

struct EventDetailsTest : testing::ScreenFixture {
    std::unique_ptr<EventDetailsView> view;

    void TearDown() override { view.reset(); }

    void open(const Uuid& row) {
        view = std::make_unique<EventDetailsView>(context(), row);
        view->show();
        settle();
    }
    void openNewest() { open(model->historySessions->front().id); }

    std::vector<std::string> names() const { return ScreenFixture::names(*view); }
    QAbstractButton* button(const std::string& name) const {
        return ScreenFixture::button(*view, name);
    }
    void press(const std::string& name) const { ScreenFixture::press(*view, name); }

    /// Without a meta-object of their own they can only be found by their names.
    template <class Part>
    const Part* part(const char* name) const {
        return static_cast<const Part*>(view->findChild<QWidget*>(QLatin1String(name)));
    }
    std::optional<TrustChange> pending() const {
        return part<TrustControls>("trustControls")->pending();
    }

    QDialog* question() const {
        settle();
        for (auto* each : view->findChildren<QDialog*>()) {
            if (each->isVisible()) {
                return each;
            }
        }
        return nullptr;
    }

    void answer(const std::string& name) const {
        ASSERT_NE(question(), nullptr);
        ScreenFixture::press(*question(), name);
    }

    TrustKind kind(Device device) const {
        return model->trust->kind(model->historySessions->front().app, device)
            .value_or(static_cast<TrustKind>(-1));
    }

    bool isCrossed(const char* name) const { return part<SymbolButton>(name)->isCrossed(); }

    void callOf(const std::string& name) {
        auto reading = camera({appRef(name)});
        reading.microphoneOn = true;
        reading.microphoneApps = {appRef(name)};
        receive(reading);
    }
};

const std::string notTrusted = "Not trusted. Click to trust.";
const std::string isTrustedNow = "Trusted. Click to stop trusting.";
const std::string doesNotWarn = "Does not always warn. Click to turn on.";
const std::string alwaysWarnsNow = "Always warns. Click to turn off.";
const std::string entryVanished = "This entry is no longer in History.";

TEST_F(EventDetailsTest, OfAnOpenRowFollowsItUntilItsEnd) {
    launchWatching();
    callOf("zoom");
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("zoom"), Contains("Started"), Contains("Ended"),
                               Contains("Still on"), Contains("Duration"), Contains("0 s")));
    time.advanceBy(75);
    EXPECT_THAT(names(), Contains("1 min"));
    receive({});
    EXPECT_THAT(names(), AllOf(Not(Contains("Still on")), Contains(words().shortTime(time.now()))));
    time.advanceBy(600);
    EXPECT_THAT(names(), Contains("1 min"));
}

TEST_F(EventDetailsTest, OfARowThatAQuitCutOffSaysSo) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    time.advanceBy(30);
    launch();
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("Not known. Velmoran wasn't running when it ended."),
                               Not(Contains("Duration"))));
}

TEST_F(EventDetailsTest, OfWhatIsNotInTheHistorySaysOnlyThat) {
    launchWatching();
    open(Uuid::random());
    EXPECT_THAT(names(), ::testing::ElementsAre(entryVanished));
}

TEST_F(EventDetailsTest, OfWhatVanishesWhileItIsOpenSaysOnlyThat) {
    launchWatching();
    callOf("zoom");
    receive({});
    openNewest();
    EXPECT_THAT(names(), Not(Contains(entryVanished)));
    press(notTrusted);
    ASSERT_NE(question(), nullptr);
    model->deleteHistory();
    EXPECT_EQ(question(), nullptr) << "there is nothing left to ask about";
    EXPECT_THAT(names(), ::testing::ElementsAre(entryVanished));
    EXPECT_EQ(view->size(), view->sizeHint());
}

TEST_F(EventDetailsTest, AnAppThatIsFoundOutTakesThePlaceOfTheUnknownOne) {
    launchWatching();
    receive(camera({}));
    time.advanceBy(2);
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("Unknown app"),
                               Contains("We couldn't tell which app it is, so its connections "
                                        "aren't known.")));
    EXPECT_EQ(button(notTrusted), nullptr) << "no rule could be written";
    receive(camera({appRef("zoom")}));
    EXPECT_THAT(names(), AllOf(Contains("zoom"), Not(Contains("Unknown app"))));
    EXPECT_NE(button(notTrusted), nullptr);
}

TEST_F(EventDetailsTest, TrustsOnlyAfterTheQuestion) {
    launchWatching();
    callOf("zoom");
    openNewest();
    EXPECT_TRUE(isCrossed("trust"));
    EXPECT_EQ(button(notTrusted)->toolTip(),
              QStringLiteral("Not trusted for the camera and microphone. Click to trust the camera "
                             "and microphone."));
    press(notTrusted);
    EXPECT_TRUE(model->trust->rules().empty());
    ASSERT_NE(question(), nullptr);
    EXPECT_EQ(question()->accessibleName(),
              QStringLiteral("Trust zoom for the camera and microphone?"));
    EXPECT_EQ(question()->accessibleDescription(),
              QStringLiteral("Velmoran will stay quiet the next time zoom uses the camera and "
                             "microphone. Only the menu bar icon changes."));
    EXPECT_EQ(pending(), TrustControls::Change::trust);
    answer("Trust");
    EXPECT_EQ(kind(Device::camera), TrustKind::trusted);
    EXPECT_EQ(kind(Device::microphone), TrustKind::trusted);
    EXPECT_EQ(pending(), std::nullopt);
    EXPECT_FALSE(isCrossed("trust"));
    EXPECT_TRUE(isCrossed("alwaysWarn"));
    press(isTrustedNow);
    EXPECT_EQ(question()->accessibleName(),
              QStringLiteral("Stop trusting zoom for the camera and microphone?"));
    answer("Distrust");
    EXPECT_TRUE(model->trust->rules().empty());
    EXPECT_NE(button(notTrusted), nullptr);
}

TEST_F(EventDetailsTest, WarnsAlwaysOnlyAfterTheQuestion) {
    launchWatching();
    callOf("zoom");
    openNewest();
    press(doesNotWarn);
    EXPECT_EQ(question()->accessibleName(),
              QStringLiteral("Always warn when zoom uses the camera and microphone?"));
    answer("Always warn");
    EXPECT_EQ(kind(Device::camera), TrustKind::alwaysWarn);
    EXPECT_FALSE(isCrossed("alwaysWarn"));
    press(notTrusted);
    EXPECT_THAT(question()->accessibleDescription().toStdString(), HasSubstr("calm notice"));
    answer("Trust");
    EXPECT_EQ(kind(Device::camera), TrustKind::trustedAlwaysWarn);
    press(alwaysWarnsNow);
    EXPECT_EQ(question()->accessibleName(), QStringLiteral("Stop always warning about zoom?"));
    answer("Stop always warning");
    EXPECT_EQ(kind(Device::camera), TrustKind::trusted);
}

TEST_F(EventDetailsTest, CancellingChangesNothing) {
    launchWatching();
    callOf("zoom");
    openNewest();
    for (const auto& name : {notTrusted, doesNotWarn}) {
        press(name);
        answer("Cancel");
        EXPECT_EQ(question(), nullptr);
        EXPECT_EQ(pending(), std::nullopt);
        press(name);
        ASSERT_NE(question(), nullptr);
        question()->close();
        EXPECT_EQ(question(), nullptr);
        EXPECT_EQ(pending(), std::nullopt);
    }
    EXPECT_TRUE(model->trust->rules().empty());
}

TEST_F(EventDetailsTest, OneTrustedDeviceOfTwoIsNotAll) {
    launchWatching();
    callOf("zoom");
    model->setTrusted(true, model->historySessions->front().app, {Device::camera});
    openNewest();
    EXPECT_TRUE(isCrossed("trust"));
    press(notTrusted);
    EXPECT_EQ(question()->accessibleName(),
              QStringLiteral("Trust zoom for the camera and microphone?"));
}

TEST_F(EventDetailsTest, FollowsATrustThatIsGivenElsewhere) {
    launchWatching();
    callOf("zoom");
    openNewest();
    press(notTrusted);
    model->setTrusted(true, model->historySessions->front().app,
                      {Device::camera, Device::microphone});
    EXPECT_EQ(question(), nullptr) << "it would ask for what is there already";
    EXPECT_NE(button(isTrustedNow), nullptr);
}

TEST_F(EventDetailsTest, OfTheSpeakerAloneThereIsNoTrust) {
    launchWatching();
    model->settings.monitorSpeakerUse.set(true);
    SystemSnapshot reading;
    reading.speakerOn = true;
    reading.speakerApps = {appRef("music")};
    receive(reading);
    openNewest();
    EXPECT_THAT(names(), Contains("music"));
    EXPECT_EQ(button(notTrusted), nullptr);
    EXPECT_EQ(button(doesNotWarn), nullptr);
}

TEST_F(EventDetailsTest, APartOfTheSystemIsExplainedAndVouchedFor) {
    machine.script.signingIDs = {{appRef("siri").path.value(), "com.apple.corespeechd"}};
    launchWatching();
    model->settings.ignoreSystemListening.set(false);
    receive(microphone({appRef("siri")}));
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("Part of macOS"), Contains(StartsWith("Listens for")),
                               Not(Contains("Started"))));
    auto* explain = button("Explains what this part of macOS does");
    ASSERT_NE(explain, nullptr);
    EXPECT_EQ(explain->toolTip(), QStringLiteral("Explains what this part of macOS does"));
    explain->click();
    settle();
    const auto* name = part<AppNameView>("appName");
    ASSERT_TRUE(name->showsNote());
    const auto* note = QApplication::activePopupWidget();
    ASSERT_NE(note, nullptr);
    EXPECT_THAT(ScreenFixture::names(*note),
                AllOf(Contains("siri is part of macOS"), Contains(StartsWith("Listens for")),
                      Contains(StartsWith("Velmoran checked that Apple signed it"))));
    explain->click();
    settle();
    EXPECT_FALSE(name->showsNote());
}

TEST_F(EventDetailsTest, AProgramThatOnlyBearsTheNameGetsNoNote) {
    machine.script.signingIDs = {{"/somewhere/else", "com.apple.corespeechd"}};
    launchWatching();
    receive(microphone({appRef("corespeechd")}));
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("corespeechd"), Contains("Started"),
                               Not(Contains("Part of macOS"))));
    EXPECT_EQ(button("Explains what this part of macOS does"), nullptr);
}

TEST_F(EventDetailsTest, FoldsItsConnectionsOpenAndGoesOnListingThem) {
    launchWatching();
    machine.script.connections[appRef("zoom").path.value()] = {
        {.address = "192.0.2.1", .port = 443, .transport = "TCP"}};
    callOf("zoom");
    time.runPosted();
    openNewest();
    const auto* section = part<ConnectionsSection>("connections");
    EXPECT_FALSE(section->showsList());
    const auto folded = view->height();
    press("This app is connected to");
    EXPECT_TRUE(section->showsList());
    EXPECT_GT(view->height(), folded);
    EXPECT_EQ(view->size(), view->sizeHint());
    EXPECT_THAT(names(), Contains(StartsWith("Where the app was connected while it used the "
                                             "camera and microphone")));
    const auto* peers = view->findChild<QListView*>();
    ASSERT_EQ(peers->model()->rowCount(), 1);
    EXPECT_EQ(peers->model()->index(0, 0).data(Qt::AccessibleTextRole).toString().toStdString(),
              "192.0.2.1, port 443 TCP, " +
                  QString::fromStdString(words().shortTime(time.now())).simplified().toStdString());
    machine.script.connections[appRef("zoom").path.value()].push_back(
        {.address = "2001:db8::1", .port = 8801, .transport = "UDP"});
    time.advanceBy(16);
    EXPECT_EQ(peers->model()->rowCount(), 2);
    EXPECT_TRUE(section->showsList());
}

TEST_F(EventDetailsTest, WithoutConnectionsSaysSo) {
    launchWatching();
    callOf("zoom");
    openNewest();
    EXPECT_THAT(names(), AllOf(Contains("This app is connected to"),
                               Contains("Velmoran didn't see any connections for this app while it "
                                        "used the camera and microphone.")));
}

TEST_F(EventDetailsTest, FoldsItsTechnicalDetailsOpen) {
    machine.script.teamIDs = {{appRef("zoom").path.value(), "Z1"}};
    launchWatching();
    callOf("zoom");
    openNewest();
    EXPECT_FALSE(view->showsTechnicalDetails());
    EXPECT_THAT(names(), Not(Contains("Bundle ID: org.example.zoom")));
    press("Technical details");
    EXPECT_TRUE(view->showsTechnicalDetails());
    EXPECT_THAT(names(),
                AllOf(Contains("Bundle ID: org.example.zoom"),
                      Contains("Location: /Applications/zoom"), Contains("Signed by team: Z1")));
    EXPECT_EQ(view->size(), view->sizeHint());
}

TEST_F(EventDetailsTest, CostsNothingWhileItIsHidden) {
    launchWatching();
    callOf("zoom");
    const auto due = time.nextDue();
    openNewest();
    EXPECT_NE(time.nextDue(), due);
    view->hide();
    EXPECT_EQ(time.nextDue(), due);
    time.advanceBy(5);
    EXPECT_THAT(names(), Contains("0 s"));
    view->show();
    EXPECT_THAT(names(), Contains("5 s"));
}

TEST_F(EventDetailsTest, CostsNothingOnceItsRowHasEnded) {
    launchWatching();
    callOf("zoom");
    openNewest();
    time.advanceBy(3);
    receive({});
    const auto due = time.nextDue();
    EXPECT_THAT(names(), Contains("3 s"));
    view->hide();
    EXPECT_EQ(time.nextDue(), due) << "it had no timer any more";
    view->show();
    EXPECT_EQ(time.nextDue(), due);
}

TEST_F(EventDetailsTest, ClosingTheWindowWithdrawsTheQuestion) {
    launchWatching();
    callOf("zoom");
    openNewest();
    press(notTrusted);
    ASSERT_NE(question(), nullptr);
    view->hide();
    EXPECT_EQ(question(), nullptr);
    view->show();
    EXPECT_EQ(question(), nullptr);
    press(notTrusted);
    ASSERT_NE(question(), nullptr);
    const QPointer left = question();
    view.reset();
    settle();
    EXPECT_FALSE(left);
}

TEST_F(EventDetailsTest, ItsSymbolsEndWhereItsLinesDo) {
    launchWatching();
    callOf("zoom");
    openNewest();
    const auto picture = view->grab().toImage();
    const auto ground = picture.pixelColor(picture.width() - 1, 0);
    const auto isInked = [&](int x) {
        const auto top = part<QWidget>("trustControls")->height() + 20;
        for (int y = 20; y < top; ++y) {
            if (std::abs(picture.pixelColor(x, y).lightness() - ground.lightness()) > 40) {
                return true;
            }
        }
        return false;
    };
    int end = picture.width() - 1;
    while (end > 0 && !isInked(end)) {
        --end;
    }
    EXPECT_NEAR(end, view->width() - 20, 2);
    EXPECT_EQ(view->width(), 420);
}

TEST_F(EventDetailsTest, NoNameCanWidenItOrWriteALine) {
    launchWatching();
    const auto widthFor = [this](const std::string& name, const std::string& shown) {
        time.advanceBy(1); // or it would be no newer than the last one
        receive(camera({{.name = name, .bundleID = "org." + name, .path = "/" + name}}));
        openNewest();
        press("Technical details");
        EXPECT_EQ(view->findChild<QWidget*>(QStringLiteral("appName"))
                      ->findChild<LineLabel*>()
                      ->text()
                      .toStdString(),
                  shown);
        EXPECT_LT(view->height(), 700);
        return view->width();
    };
    const auto usual = widthFor("zoom", "zoom");
    const std::string replaced = "\xEF\xBF\xBD";
    const std::string rightToLeft = "\xD7\x96\xD7\x95\xD7\x9D";
    const std::string turned = "\xE2\x80\xAE";
    const std::pair<std::string, std::string> bad[] = {
        {"", ""},
        {std::string(10000, 'm'), std::string(10000, 'm')},
        {"<b>bold</b>", "<b>bold</b>"},
        {"two\nlines", "two lines"},
        {"bad \xFF\xFE bytes", "bad " + replaced + replaced + " bytes"},
        {rightToLeft, rightToLeft},
        {turned + "evil", "evil"},
    };
    for (const auto& [name, shown] : bad) {
        EXPECT_EQ(widthFor(name, shown), usual);
    }
}

} // namespace
} // namespace velmoran
