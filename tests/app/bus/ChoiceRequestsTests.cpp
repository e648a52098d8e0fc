// The user's choices as other programs ask about them, by calls and by velmoranctl.
#include "BusFixture.h"

#include "app/model/SettingChoices.h"
#include "app/qtbase/QtSettingsFile.h"

#include <atomic>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

using testing::BusFixture;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ChoiceRequestsTest : public BusFixture {
protected:
    void launch() {
        model = std::make_unique<AppModel>(ModelSurroundings{machine, loop, loop, settings, [this] {
                                                                 return store;
                                                             }});
        model->start();
        model->receive({});
        auto options = serviceOptions();
        options.changed = [this](const OutsideChange& change) {
            told.push_back(change.sentence);
        };
        offer(std::move(options));
        ASSERT_TRUE(isOffered());
    }
    /// A program's exit status.
    int run(const std::vector<std::string>& arguments) {
        auto client = start(arguments);
        return finish(client);
    }
    /// velmoranctl's output.
    std::string said(const std::vector<std::string>& arguments, int status = 0) {
        return ctl(arguments, status).output();
    }
    std::string complained(const std::vector<std::string>& arguments, int status = 2) {
        const auto client = ctl(arguments, status);
        EXPECT_EQ(client.output(), "") << client.title();
        return client.errors();
    }
    static AppIdentity identity(const std::string& name) {
        AppIdentity result;
        result.id = "org.example." + name;
        result.name = name;
        return result;
    }
    std::string settingsFile() const {
        return support::readFile(folder_.path(".config/Velmoran/Velmoran.conf"));
    }

    std::shared_ptr<HistoryStore> store = std::make_shared<HistoryStore>(std::nullopt);
    std::vector<std::string> told;
};

TEST_F(ChoiceRequestsTest, SaysWhatTheSettingsAre) {
    launch();
    model->settings.retentionDays.set(365);
    EXPECT_EQ(said({"settings", "get", "retentionDays"}), "365\n");
    EXPECT_EQ(said({"settings", "get", "language"}), "system\n");
    EXPECT_EQ(said({"settings", "--json"}), encode(SettingChoices::all(model->settings)) + "\n");
    const auto list = said({"settings"});
    EXPECT_THAT(list, HasSubstr("retentionDays          365     (30, 90, 365)\n"));
    EXPECT_EQ(said({"settings", "list"}), list);
    EXPECT_THAT(complained({"settings", "get", "dance"}), HasSubstr("There is no setting “dance”"));
}

TEST_F(ChoiceRequestsTest, ChangesASettingWithWhatThatMeans) {
    for (const double days : {20.0, 40.0}) {
        UsageSession session;
        session.id = Uuid::random();
        session.app = identity("Zoom");
        session.start = loop.now() - days * 86400;
        session.end = session.start + 10;
        session.outcome = SessionOutcome::endedNormally;
        store->saveSession(session);
    }
    launch();
    ASSERT_EQ(model->historySessions->size(), 2U);
    EXPECT_EQ(said({"settings", "set", "retentionDays", "30"}), "retentionDays is now 30.\n");
    EXPECT_EQ(model->historySessions->size(), 1U) << "what is older is deleted at once";
    EXPECT_EQ(*model->settings.retentionDays, 30);
    EXPECT_EQ(settings.integer("retentionDays"), 30);
    EXPECT_THAT(told, ElementsAre("retentionDays is now 30."));

    // The speaker is looked at anew at once.
    SystemSnapshot sound;
    sound.speakerOn = true;
    sound.speakerApps = {app("Player")};
    model->receive(sound);
    EXPECT_THAT(*model->openSessions, IsEmpty());
    said({"settings", "set", "monitorSpeakerUse", "true"});
    EXPECT_EQ(model->openSessions->size(), 1U);
    said({"settings", "set", "monitorSpeakerUse", "false"});
    EXPECT_THAT(*model->openSessions, IsEmpty());
    EXPECT_EQ(told.size(), 3U);
    said({"settings", "set", "monitorSpeakerUse", "false"});
    EXPECT_EQ(told.size(), 3U) << "nothing has changed";
}

TEST_F(ChoiceRequestsTest, RefusesWhatIsNoChoice) {
    launch();
    model->settings.microphoneMuted.set(true);
    EXPECT_THAT(complained({"settings", "set", "microphoneMuted", "false"}),
                HasSubstr("velmoranctl unmute"));
    EXPECT_THAT(complained({"settings", "set", "trustRulesData", "{}"}),
                HasSubstr("on the screen"));
    EXPECT_THAT(complained({"settings", "set", "onboardingDone", "true"}), HasSubstr("by name"));
    EXPECT_THAT(complained({"settings", "set", "retentionDays", "31"}),
                HasSubstr("It can be: 30, 90, 365."));
    complained({"settings", "set", "retentionDays"});
    complained({"settings", "dance"});
    // Also past velmoranctl, which asks nobody about these.
    for (const auto* name : {"microphoneMuted", "trustRulesData", "onboardingDone"}) {
        const auto client = run({"busctl", "--user", "call", bus::name, bus::path, bus::interface,
                                 "ChangeSetting", "ss", name, "true"});
        EXPECT_NE(client, 0) << name;
    }
    EXPECT_TRUE(*model->settings.microphoneMuted);
    EXPECT_FALSE(*model->settings.onboardingDone);
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(ChoiceRequestsTest, LetsNobodyChangeAsOftenAsHeLikes) {
    launch();
    std::atomic<bool> ended = false;
    int changed = 0;
    for (int i = 0; i < 3 * BusRequests::atOnce; ++i) {
        changed +=
            run({"busctl", "--user", "call", bus::name, bus::path, bus::interface, "ChangeSetting",
                 "ss", "warningSoundOn", i % 2 == 0 ? "false" : "true"}) == 0
                ? 1
                : 0;
    }
    EXPECT_EQ(changed, 3 * BusRequests::atOnce) << "each is answered";
    EXPECT_GE(told.size(), static_cast<std::size_t>(BusRequests::atOnce));
    EXPECT_LT(told.size(), static_cast<std::size_t>(3 * BusRequests::atOnce));
    // As fast as this, nearly all of these come before another one is let through.
    const testing::BusClient client(address());
    std::vector<std::string> outcomes;
    std::thread caller([&] {
        for (int i = 0; i < 3 * BusRequests::atOnce; ++i) {
            sd_bus_message* answered = nullptr;
            sd_bus_call_method(client.bus(), bus::name, bus::path, bus::interface, "ChangeSetting",
                               nullptr, &answered, "ss", "warningSoundOn",
                               i % 2 == 0 ? "false" : "true");
            const BusMessage reply(answered);
            const char* outcome = "";
            if (answered) {
                sd_bus_message_read(answered, "s", &outcome);
            }
            outcomes.emplace_back(outcome);
        }
        ended = true;
    });
    EXPECT_TRUE(runUntil([&] { return ended.load(); }));
    caller.join();
    EXPECT_THAT(outcomes, Contains(bus::outcome::busy));
}

TEST_F(ChoiceRequestsTest, SaysThatAChangeCouldNotBeSaved) {
    folder_.write("obstacle", "no folder");
    QtSettingsFile file(QString::fromStdString(folder_.path("obstacle/Velmoran.conf")));
    model = std::make_unique<AppModel>(ModelSurroundings{machine, loop, loop, file, [this] {
                                                             return store;
                                                         }});
    model->start();
    offer();
    model->setTrusted(true, identity("Zoom"), {Device::camera});
    const std::string notSaved =
        "The settings couldn't be saved. What is chosen here holds until Velmoran quits.\n";
    EXPECT_EQ(said({"settings", "set", "warningSoundOn", "false"}, 3),
              "warningSoundOn is now false.\n" + notSaved);
    EXPECT_FALSE(*model->settings.warningSoundOn);
    EXPECT_EQ(said({"trust", "remove", "Zoom"}, 3),
              "Zoom is no longer trusted with the camera.\n" + notSaved);
    std::filesystem::remove(folder_.path("obstacle"));
    EXPECT_EQ(said({"settings", "set", "warningSoundOn", "true"}), "warningSoundOn is now true.\n");
    service.reset();
    model.reset();
}

TEST_F(ChoiceRequestsTest, ListsTrustAndTakesItBack) {
    launch();
    EXPECT_EQ(said({"trust"}), "No app is trusted, and none always warned of.\n");
    model->setTrusted(true, identity("Zoom"), {Device::camera, Device::microphone});
    model->setTrusted(true, identity("Meet"), {Device::camera});
    model->setAlwaysWarn(true, identity("Meet"), {Device::camera});
    model->setAlwaysWarn(true, identity("Fox"), {Device::microphone});
    EXPECT_EQ(said({"trust", "list"}), "mic     always warn           Fox (org.example.Fox)\n"
                                       "camera  trusted, always warn  Meet (org.example.Meet)\n"
                                       "camera  trusted               Zoom (org.example.Zoom)\n"
                                       "mic     trusted               Zoom (org.example.Zoom)\n");
    EXPECT_EQ(Json::parse(said({"trust", "list", "--json"})), Json(model->trust->rules()));

    EXPECT_EQ(said({"trust", "remove", "zoom", "--device", "microphone"}),
              "Zoom is no longer trusted with the microphone.\n");
    EXPECT_TRUE(model->trust->isTrusted(identity("Zoom"), Device::camera));
    EXPECT_FALSE(model->trust->isTrusted(identity("Zoom"), Device::microphone));
    EXPECT_EQ(said({"trust", "remove", "org.example.Zoom"}),
              "Zoom is no longer trusted with the camera.\n");
    EXPECT_EQ(said({"trust", "remove", "Meet"}), "Meet is no longer trusted with the camera.\n");
    EXPECT_EQ(model->trust->kind(identity("Meet"), Device::camera), TrustKind::alwaysWarn)
        << "nobody is told less for it";
    EXPECT_THAT(told, ElementsAre("Zoom is no longer trusted with the microphone.",
                                  "Zoom is no longer trusted with the camera.",
                                  "Meet is no longer trusted with the camera."));
    EXPECT_EQ(*model->settings.trustRulesData, encode(*model->trust));

    EXPECT_EQ(complained({"trust", "remove", "Zoom"}),
              "velmoranctl: “Zoom” isn't trusted. No app is.\n");
    EXPECT_THAT(complained({"trust", "remove", "Fox"}), HasSubstr("isn't trusted"));
    complained({"trust", "remove"});
    complained({"trust", "remove", ""});
    complained({"trust", "remove", "Zoom", "--device", "speaker"});
    complained({"trust", "add", "Zoom"});
}

TEST_F(ChoiceRequestsTest, AsksWhoseTrustIsMeant) {
    launch();
    auto other = identity("Zoom");
    other.id = "com.other.zoom";
    model->setTrusted(true, identity("Zoom"), {Device::camera});
    model->setTrusted(true, other, {Device::camera});
    EXPECT_THAT(complained({"trust", "remove", "Zoom"}), HasSubstr("may be any of these"));
    EXPECT_THAT(complained({"trust", "remove", "com.other.zoom", "--device", "microphone"}),
                HasSubstr("isn't trusted with the microphone"));
    said({"trust", "remove", "com.other.zoom"});
    EXPECT_TRUE(model->trust->isTrusted(identity("Zoom"), Device::camera));
}

TEST_F(ChoiceRequestsTest, ShowsNamesThatATerminalWouldObey) {
    launch();
    auto evil = identity("Evil");
    evil.name = "\x1b[2J\nZoom\xE2\x80\xAE";
    model->setTrusted(true, evil, {Device::camera});
    EXPECT_EQ(said({"trust"}), "camera  trusted   [2J Zoom  (org.example.Evil)\n");
    EXPECT_THAT(said({"trust", "--json"}), HasSubstr("\\u001b[2J\\nZoom\\u202e"));
}

TEST_F(ChoiceRequestsTest, UsesTheSettingsFileWhereNoVelmoranRuns) {
    EXPECT_EQ(said({"settings", "get", "retentionDays"}), "90\n");
    EXPECT_EQ(settingsFile(), "") << "reading makes no file";
    EXPECT_EQ(said({"settings", "set", "retentionDays", "30"}),
              "retentionDays is now 30.\n"
              "Velmoran isn't running. This holds from its next start on.\n");
    EXPECT_THAT(settingsFile(), HasSubstr("retentionDays=30"));
    EXPECT_EQ(said({"settings", "get", "retentionDays"}), "30\n");
    EXPECT_THAT(complained({"settings", "set", "retentionDays", "31"}), HasSubstr("30, 90, 365"));

    TrustList list;
    list.setTrusted(true, identity("Zoom"), {Device::camera, Device::microphone});
    {
        QtSettingsFile file(QString::fromStdString(folder_.path(".config/Velmoran/Velmoran.conf")));
        SettingsStore(file).trustRulesData.set(encode(list));
    }
    EXPECT_EQ(said({"trust"}), "camera  trusted  Zoom (org.example.Zoom)\n"
                               "mic     trusted  Zoom (org.example.Zoom)\n");
    EXPECT_THAT(said({"trust", "remove", "Zoom", "--device", "camera"}),
                HasSubstr("Zoom is no longer trusted with the camera.\n"));
    EXPECT_EQ(said({"trust"}), "mic  trusted  Zoom (org.example.Zoom)\n");
    EXPECT_THAT(settingsFile(), HasSubstr("retentionDays=30")) << "the rest stays";
    bus_->stop();
    EXPECT_EQ(said({"settings", "get", "retentionDays"}), "30\n") << "without a bus, too";
}

TEST_F(ChoiceRequestsTest, SaysThatTheSettingsFileCannotBeUsed) {
    folder_.write(".config/Velmoran", "no folder");
    EXPECT_EQ(complained({"settings", "set", "retentionDays", "30"}, 1),
              "velmoranctl: The settings file can't be written.\n");
    std::filesystem::remove(folder_.path(".config/Velmoran"));
    folder_.write(".config/Velmoran/Velmoran.conf", "[General]\ntrustRules=@ByteArray(nonsense)\n");
    EXPECT_THAT(complained({"trust"}, 1), HasSubstr("can't be read from the settings"));
    EXPECT_THAT(complained({"trust", "remove", "Zoom"}, 1),
                HasSubstr("can't be read from the settings"));
    EXPECT_THAT(settingsFile(), HasSubstr("nonsense"));
}

TEST_F(ChoiceRequestsTest, WritesNoFileBesideAVelmoranThatCannotBeReached) {
    const auto lock = folder_.write(".local/share/Velmoran/History.store.lock", "");
    const int held = ::open(lock.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(held, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(complained({"settings", "set", "retentionDays", "30"}, 1),
              "velmoranctl: Velmoran is running and can't be reached over the session bus.\n");
    EXPECT_THAT(complained({"trust", "remove", "Zoom"}, 1), HasSubstr("can't be reached"));
    EXPECT_EQ(settingsFile(), "");
    ::close(held);
    said({"settings", "set", "retentionDays", "30"});
}

TEST_F(ChoiceRequestsTest, AWatchTellsWhatItHasChanged) {
    for (const bool json : {false, true}) {
        auto watch = startCtl(json ? std::vector<std::string>{"watch", "--json"}
                                   : std::vector<std::string>{"watch"});
        ASSERT_TRUE(isOffered()) << watch.errors();
        EXPECT_EQ(said({"settings", "set", "retentionDays", json ? "365" : "30"}),
                  json ? "retentionDays is now 365.\n" : "retentionDays is now 30.\n");
        const std::string line =
            json ? R"("event":"settingChanged","name":"retentionDays","value":"365"})"
                 : "  Another program asked for it: retentionDays is now 30.\n";
        EXPECT_TRUE(runUntil([&] { return watch.output().find(line) != std::string::npos; }))
            << watch.output();
        watch.stop();
        ASSERT_TRUE(runUntil([&] { return !isOwned(); }));
    }
    EXPECT_THAT(settingsFile(), HasSubstr("retentionDays=365"));
}

TEST_F(ChoiceRequestsTest, AWatchTellsWhatTheVelmoranOnTheDesktopHasChanged) {
    launch();
    model->setTrusted(true, identity("Zoom"), {Device::camera});
    auto watch = startCtl({"watch"});
    auto json = startCtl({"watch", "--json"});
    // That they listen shows in what they hear.
    const auto hear = [&](const support::ChildProcess& child, const std::string& text) {
        bool on = true;
        return runUntil([&] {
            if (child.output().find(text) != std::string::npos) {
                return true;
            }
            on = !on;
            run({"busctl", "--user", "call", bus::name, bus::path, bus::interface, "ChangeSetting",
                 "ss", "floatingStopButton", on ? "true" : "false"});
            return false;
        });
    };
    EXPECT_TRUE(hear(watch, "Another program asked for it: floatingStopButton is now "))
        << watch.output() << watch.errors();
    EXPECT_TRUE(hear(json, R"("settingChanged","name":"floatingStopButton")"))
        << json.output() << json.errors();
    said({"trust", "remove", "Zoom"});
    EXPECT_TRUE(runUntil([&] {
        return watch.output().find("Zoom is no longer trusted with the camera.") !=
                   std::string::npos &&
               json.output().find(
                   R"("event":"distrusted","app":"org.example.Zoom","devices":["camera"]})") !=
                   std::string::npos;
    })) << watch.output()
        << json.output();
}

TEST_F(ChoiceRequestsTest, HearsNobodyWhoIsNoVelmoran) {
    startModel();
    std::vector<std::string> heard;
    bool isVelmoran = false;
    std::vector<std::int32_t> asked;
    auto options = serviceOptions();
    options.isVelmoran = [&](std::int32_t pid) {
        asked.push_back(pid);
        return isVelmoran;
    };
    options.changed = [&](const OutsideChange& change) {
        heard.push_back(change.sentence);
    };
    offer(std::move(options));
    ASSERT_TRUE(isOffered());
    // Stays, so that the bus can say who it is.
    const testing::BusClient client(address());
    const auto announce = [&](const std::string& json) {
        return sd_bus_emit_signal(client.bus(), bus::path, bus::interface, "ChangedFromOutside",
                                  "s", json.c_str()) >= 0 &&
               sd_bus_flush(client.bus()) >= 0;
    };
    ASSERT_TRUE(announce(R"({"sentence": "a lie"})"));
    ASSERT_TRUE(runUntil([&] { return asked.size() == 1; }));
    EXPECT_THAT(heard, IsEmpty());
    isVelmoran = true;
    for (const auto* none : {"", "{}", "[]", R"({"sentence": 1})"}) {
        ASSERT_TRUE(announce(none));
    }
    ASSERT_TRUE(announce(R"({"sentence": "so it is"})"));
    ASSERT_TRUE(runUntil([&] { return !heard.empty(); }));
    EXPECT_THAT(heard, ElementsAre("so it is"));
    EXPECT_EQ(asked.size(), 2U);
}

} // namespace
} // namespace velmoran
