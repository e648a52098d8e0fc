#include "app/contents/TrustEntries.h"

#include "app/model/ModelFixture.h"
#include "core/sessions/SystemProcess.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* siriPath = "/System/Library/corespeechd";

struct TrustEntriesTest : velmoran::testing::ModelFixture {
    TrustEntriesTest() {
        machine.script.signingIDs[siriPath] = "com.apple.corespeechd";
        machine.script.signingIDs["/usr/bin/other"] = "com.apple.other";
        launch();
    }

    static AppIdentity app(const std::string& name, const std::string& path = {}) {
        AppIdentity result;
        result.id = "org.example." + name;
        result.name = name;
        if (!path.empty()) {
            result.path = path;
        }
        return result;
    }

    TrustEntries entries(TrustKind kind = TrustKind::trusted) const {
        return TrustEntries::of(*model, kind);
    }

    static std::vector<std::string> names(const std::vector<TrustEntry>& list) {
        std::vector<std::string> result;
        for (const auto& entry : list) {
            result.push_back(entry.app.name);
        }
        return result;
    }
};

TEST_F(TrustEntriesTest, HaveOneLineForAnAppWithItsDevices) {
    model->setTrusted(true, app("Meet"), {Device::microphone});
    model->setTrusted(true, app("Meet"), {Device::camera});
    model->setTrusted(true, app("chat"), {Device::microphone});
    const auto shown = entries();
    EXPECT_THAT(names(shown.apps), ElementsAre("chat", "Meet"));
    EXPECT_EQ(shown.apps[0].deviceWords(), "microphone");
    EXPECT_EQ(shown.apps[1].deviceWords(), "camera, microphone");
}

TEST_F(TrustEntriesTest, ShowBothDecisionsInTheirOwnList) {
    model->setTrusted(true, app("Meet"), {Device::camera});
    model->setAlwaysWarn(true, app("Meet"), {Device::microphone});
    EXPECT_EQ(entries().apps.front().deviceWords(), "camera");
    EXPECT_EQ(entries(TrustKind::alwaysWarn).apps.front().deviceWords(), "microphone");
}

TEST_F(TrustEntriesTest, KeepPartsOfTheSystemApart) {
    model->setTrusted(true, app("Siri", siriPath), {Device::microphone});
    model->setTrusted(true, app("Meet", "/opt/meet"), {Device::microphone});
    model->setTrusted(true, app("other", "/usr/bin/other"), {Device::microphone});
    // Takes the name without being it.
    auto namesake = app("corespeechd");
    namesake.id = "com.apple.corespeechd";
    model->setTrusted(true, namesake, {Device::microphone});
    const auto shown = entries();
    EXPECT_THAT(names(shown.apps), ElementsAre("corespeechd", "Meet", "other"));
    EXPECT_THAT(names(shown.systemProcesses), ElementsAre("Siri"));
    EXPECT_EQ(shown.systemProcessesTitle(), "Show macOS system processes (1)");
}

TEST_F(TrustEntriesTest, SayWhereAppsComeFrom) {
    EXPECT_THAT(entries().apps, IsEmpty());
    EXPECT_EQ(TrustEntries::emptyNote(TrustKind::trusted),
              "No trusted apps yet. Choose \"Trust this app\" on a notice to add one.");
    EXPECT_EQ(TrustEntries::emptyNote(TrustKind::alwaysWarn),
              "No apps here yet. You can add one from an event's details.");
}

TEST_F(TrustEntriesTest, TellWhatDistrustMeans) {
    model->setTrusted(true, app("Meet"), {Device::camera, Device::microphone});
    model->setTrusted(true, app("Siri", siriPath), {Device::microphone});
    const auto meet = entries().apps.front();
    EXPECT_EQ(meet.question(), "Stop trusting Meet?");
    EXPECT_EQ(meet.consequence(), "Meet keeps working. Velmoran will show a notice again the next "
                                  "time it uses the camera and microphone.");
    const auto siri = entries().systemProcesses.front();
    EXPECT_EQ(siri.consequence(),
              "Siri is part of macOS. Listens for “Hey Siri” and voice commands, and runs "
              "dictation. It often turns the microphone on for a second or two. It keeps working "
              "either way. Velmoran will only show a notice again the next time it uses the "
              "microphone under its own name.");
}

TEST_F(TrustEntriesTest, NameWhatTheButtonDoes) {
    EXPECT_EQ(TrustEntries::action(TrustKind::trusted), "Distrust");
    EXPECT_EQ(TrustEntries::actionHelp(TrustKind::trusted, app("Meet")), "Distrust Meet");
    EXPECT_EQ(TrustEntries::action(TrustKind::alwaysWarn), "Remove");
    EXPECT_EQ(TrustEntries::actionHelp(TrustKind::alwaysWarn, app("Meet")), "Remove Meet");
}

TEST_F(TrustEntriesTest, SayHowAPartOfTheSystemIsExplained) {
    EXPECT_EQ(TrustEntries::systemProcessesHeading(), "macOS system processes");
    EXPECT_EQ(TrustEntries::systemProcessesNote(), "Click a name to see what it is.");
}

} // namespace
} // namespace velmoran
