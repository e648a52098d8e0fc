#include "core/stopping/BrowserLinux.h"

#include "core/stopping/Browser.h"

#include <gtest/gtest.h>

#include <set>

namespace velmoran {
namespace {

AppIdentity app(const std::string& id) {
    return {.id = id, .name = id, .bundleID = id, .path = {}, .teamID = {}};
}

TEST(BrowserLinux, KnowsTheCommonOnesByTheirEntries) {
    for (const auto* id :
         {"firefox", "firefox-esr", "org.mozilla.firefox", "firefox_firefox", "chromium",
          "google-chrome", "brave-browser", "vivaldi-stable", "opera", "microsoft-edge",
          "org.gnome.Epiphany", "org.kde.falkon", "librewolf", "torbrowser", "GOOGLE-CHROME"}) {
        EXPECT_TRUE(Browser::isBrowser(app(id), Browser::knownOnLinux())) << id;
    }
    for (const auto* id : {"org.gnome.Cheese", "firefoxes", "zoom", "minder", "/usr/bin/opera2"}) {
        EXPECT_FALSE(Browser::isBrowser(app(id), Browser::knownOnLinux())) << id;
    }
}

TEST(BrowserLinux, MakesNoBrowserWhereOtherIdsHold) {
    EXPECT_FALSE(Browser::isBrowser(app("firefox-esr"), {}));
}

TEST(BrowserLinux, NamesEachOnce) {
    std::set<std::string> seen;
    for (const auto& id : Browser::knownOnLinux()) {
        EXPECT_TRUE(seen.insert(id).second) << id;
        EXPECT_FALSE(id.ends_with(".desktop")) << id;
    }
}

} // namespace
} // namespace velmoran
