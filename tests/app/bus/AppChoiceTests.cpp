#include "app/bus/AppChoice.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

AppIdentity app(const std::string& id, const std::string& name, const std::string& path = {}) {
    AppIdentity app;
    app.id = id;
    app.name = name;
    if (!path.empty()) {
        app.path = path;
    }
    return app;
}

UsageSession session(const AppIdentity& app, Device device) {
    UsageSession session;
    session.app = app;
    session.device = device;
    return session;
}

const std::vector<AppIdentity> apps = {app("org.a.Zoom", "Zoom", "/opt/zoom"),
                                       app("org.b.Zoom", "Zoom", "/home/zoom"), app("meet", "Meet"),
                                       app("zoom", "Other")};

TEST(AppChoice, TakesEachAppOnceAndNoneThatOnlyPlays) {
    EXPECT_EQ(
        stoppableApps({session(apps[0], Device::camera), session(apps[2], Device::speaker),
                       session(apps[0], Device::microphone), session(apps[3], Device::microphone)}),
        (std::vector<AppIdentity>{apps[0], apps[3]}));
    EXPECT_TRUE(stoppableApps({}).empty());
}

TEST(AppChoice, PrefersTheIdThenThePathThenTheName) {
    EXPECT_EQ(matchingApps("zoom", apps), (std::vector<AppIdentity>{apps[3]}));
    EXPECT_EQ(matchingApps("/home/zoom", apps), (std::vector<AppIdentity>{apps[1]}));
    EXPECT_EQ(matchingApps("Meet", apps), (std::vector<AppIdentity>{apps[2]}));
    EXPECT_EQ(matchingApps("mEET", apps), (std::vector<AppIdentity>{apps[2]}));
}

TEST(AppChoice, TakesANameWithoutTheFolderBehindIt) {
    const std::vector<AppIdentity> two = {
        app("/home/u/a/dictate.py", "dictate.py (~/a)", "/home/u/a/dictate.py"),
        app("/home/u/b/dictate.py", "dictate.py (~/b)", "/home/u/b/dictate.py")};
    EXPECT_EQ(matchingApps("dictate.py (~/b)", two), (std::vector<AppIdentity>{two[1]}));
    EXPECT_EQ(matchingApps("Dictate.py", {two[1]}), (std::vector<AppIdentity>{two[1]}));
    EXPECT_EQ(matchingApps("dictate.py", two), two);
    // Of one that has an id, what stands in brackets belongs to its name.
    auto named = app("org.example.App", "App (old)");
    named.bundleID = named.id;
    EXPECT_TRUE(matchingApps("App", {named}).empty());
}

TEST(AppChoice, GivesAllThatCanNotBeToldApart) {
    EXPECT_EQ(matchingApps("Zoom", apps), (std::vector<AppIdentity>{apps[0], apps[1]}));
}

TEST(AppChoice, GivesNoneForWhatIsNoApp) {
    for (const auto* text : {"", "Zo", "Zoom ", "\xFF\xFE", "*"}) {
        EXPECT_TRUE(matchingApps(text, apps).empty()) << text;
    }
}

TEST(AppChoice, NamesWhatThereIs) {
    EXPECT_EQ(choiceError("Zoom", matchingApps("Zoom", apps), apps),
              "“Zoom” may be any of these: Zoom (org.a.Zoom) and Zoom (org.b.Zoom). Name it by "
              "what stands in brackets.");
    EXPECT_EQ(choiceError("Fox", {}, {apps[2]}),
              "“Fox” isn't using the camera or microphone. These are: Meet (meet).");
    EXPECT_EQ(choiceError("Fox", {}, {}),
              "“Fox” isn't using the camera or microphone. Nothing is.");
}

} // namespace
} // namespace velmoran
