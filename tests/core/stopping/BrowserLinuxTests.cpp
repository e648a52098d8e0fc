#include "core/stopping/BrowserLinux.h"

#include "core/stopping/Browser.h"

#include <gtest/gtest.h>

#include <set>

namespace velmoran {
namespace {

AppIdentity entryOf(const std::string& id) {
    return {.id = id, .name = id, .bundleID = id, .path = {}, .teamID = {}};
}

TEST(BrowserLinux, KnowsTheCommonOnesByTheirEntries) {
    for (const auto* id :
         {"firefox", "firefox-esr", "org.mozilla.firefox", "firefox_firefox", "chromium",
          "google-chrome", "brave-browser", "vivaldi-stable", "opera", "microsoft-edge",
          "org.gnome.Epiphany", "org.kde.falkon", "librewolf", "torbrowser", "GOOGLE-CHROME"}) {
        EXPECT_TRUE(Browser::isBrowser(entryOf(id), Browser::knownOnLinux())) << id;
    }
    for (const auto* id : {"org.gnome.Cheese", "firefoxes", "zoom", "minder", "/usr/bin/opera2"}) {
        EXPECT_FALSE(Browser::isBrowser(entryOf(id), Browser::knownOnLinux())) << id;
    }
}

TEST(BrowserLinux, MakesNoBrowserWhereOtherIdsHold) {
    EXPECT_FALSE(Browser::isBrowser(entryOf("firefox-esr"), {}));
}

TEST(BrowserLinux, NamesEachOnce) {
    std::set<std::string> seen;
    for (const auto& id : Browser::knownOnLinux()) {
        EXPECT_TRUE(seen.insert(id).second) << id;
        EXPECT_FALSE(id.ends_with(".desktop")) << id;
    }
    std::set<std::string_view> programs;
    for (const auto& program : Browser::programsOnLinux()) {
        EXPECT_TRUE(programs.insert(program).second) << program;
        EXPECT_EQ(program.find('/'), std::string_view::npos) << program;
    }
}

TEST(BrowserLinux, KnowsOneWithoutAnEntryByItsProgram) {
    for (const std::string path :
         {"/home/u/firefox/firefox", "/home/u/Downloads/firefox/firefox-bin",
          "/opt/tor-browser/Browser/firefox.real", "/home/u/mb/Browser/mullvadbrowser.real",
          "/usr/lib/firefox-esr/firefox-esr", "/opt/google/chrome/chrome",
          "/home/u/.cache/puppeteer/chrome/linux/chrome", "/opt/brave.com/brave/brave",
          "/opt/vivaldi/vivaldi-bin", "/opt/microsoft/msedge-dev/msedge",
          "/usr/lib/x86_64-linux-gnu/opera-developer/opera-developer",
          "/opt/yandex/browser/yandex_browser", "/tmp/.mount_LibreW1/librewolf",
          "/nix/store/abc-firefox-130/bin/.firefox-wrapped",
          "/gnu/store/abc-epiphany-46/bin/.epiphany-real"}) {
        EXPECT_TRUE(Browser::runsABrowserOnLinux(
            {.id = path, .name = "x", .bundleID = {}, .path = path, .teamID = {}}))
            << path;
        EXPECT_TRUE(Browser::runsABrowserOnLinux(entryOf(path))) << path;
        // Whatever entry has named it.
        EXPECT_TRUE(Browser::runsABrowserOnLinux({.id = "org.example.kiosk",
                                                  .name = "Kiosk",
                                                  .bundleID = "org.example.kiosk",
                                                  .path = path,
                                                  .teamID = "system"}))
            << path;
    }
}

TEST(BrowserLinux, TakesNoOtherProgramForOne) {
    for (const std::string id :
         {"/home/u/firefox/recorder", "/home/u/firefox/", "/home/u/firefox.sh", "/usr/bin/zoom",
          "/opt/x/chrome_crashpad_handler", "/usr/lib/electron/electron", "/opt/x/Firefox2",
          "/home/u/.firefox-wrapped", "firefox", "org.example.Recorder", ""}) {
        EXPECT_FALSE(Browser::runsABrowserOnLinux(entryOf(id))) << id;
    }
    // Only its name has one.
    EXPECT_FALSE(Browser::runsABrowserOnLinux({.id = "/usr/bin/firefox",
                                               .name = "firefox",
                                               .bundleID = {},
                                               .path = "/usr/bin/recorder",
                                               .teamID = {}}));
}

} // namespace
} // namespace velmoran
