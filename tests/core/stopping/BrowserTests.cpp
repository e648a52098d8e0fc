#include "core/stopping/Browser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

AppIdentity appOf(const std::string& id) {
    return {.id = id, .name = id, .bundleID = {}, .path = {}, .teamID = {}};
}

const std::vector<std::string_view> all = {
    "ai.perplexity.comet",
    "app.zen-browser.zen",
    "com.apple.Safari",
    "com.apple.SafariTechnologyPreview",
    "com.brave.Browser",
    "com.brave.Browser.beta",
    "com.brave.Browser.nightly",
    "com.duckduckgo.macos.browser",
    "com.google.Chrome",
    "com.google.Chrome.beta",
    "com.google.Chrome.canary",
    "com.google.Chrome.dev",
    "com.kagi.kagimacOS",
    "com.maxthon.mac.Maxthon",
    "com.microsoft.edgemac",
    "com.microsoft.edgemac.Beta",
    "com.microsoft.edgemac.Canary",
    "com.microsoft.edgemac.Dev",
    "com.naver.Whale",
    "com.openai.atlas",
    "com.operasoftware.Opera",
    "com.operasoftware.OperaDeveloper",
    "com.operasoftware.OperaGX",
    "com.operasoftware.OperaNext",
    "com.pushplaylabs.sidekick",
    "com.sigmaos.sigmaos.macos",
    "com.vivaldi.Vivaldi",
    "company.thebrowser.Browser",
    "company.thebrowser.dia",
    "io.github.ungoogled-software.ungoogled-chromium",
    "net.mullvad.mullvadbrowser",
    "net.waterfox.waterfox",
    "org.chromium.Chromium",
    "org.mozilla.firefox",
    "org.mozilla.firefoxdeveloperedition",
    "org.mozilla.librewolf",
    "org.mozilla.nightly",
    "org.torproject.torbrowser",
    "ru.yandex.desktop.yandex-browser",
};

TEST(Browser, KnowsAllOfThem) {
    EXPECT_THAT(Browser::known(), ::testing::UnorderedElementsAreArray(all));
    for (const auto id : all) {
        EXPECT_TRUE(Browser::isBrowser(appOf(std::string(id)), {})) << id;
        EXPECT_TRUE(Browser::isBrowser(appOf(std::string(id) + ".helper"), {})) << id;
        EXPECT_FALSE(Browser::isBrowser(appOf("x" + std::string(id)), {})) << id;
    }
}

TEST(Browser, IgnoresCaseAndTakesTheIdWithoutABundle) {
    EXPECT_TRUE(Browser::isBrowser(appOf("COM.GOOGLE.CHROME"), {}));
    EXPECT_TRUE(Browser::isBrowser(appOf("com.google.chrome.helper"), {}));
    EXPECT_FALSE(Browser::isBrowser(appOf("com.google.chromes"), {}));
    AppIdentity other = appOf("com.google.Chrome");
    other.bundleID = "org.example.other";
    EXPECT_FALSE(Browser::isBrowser(other, {}));
}

TEST(Browser, KnowsTheInstalledOnesToo) {
    EXPECT_FALSE(Browser::isBrowser(appOf("org.example.surf"), {}));
    EXPECT_TRUE(Browser::isBrowser(appOf("org.example.surf"), {"Org.Example.Surf"}));
}

} // namespace
} // namespace velmoran
