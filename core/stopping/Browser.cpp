#include "core/stopping/Browser.h"

#include <algorithm>

namespace velmoran::Browser {

namespace {

/// Identifiers are plain ASCII, so the locale has no say.
std::string lowercased(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return result;
}

bool matches(const std::string& key, std::string_view candidate) {
    const std::string browser = lowercased(candidate);
    return key == browser || key.starts_with(browser + ".");
}

} // namespace

const std::vector<std::string_view>& known() {
    static const std::vector<std::string_view> table = {
        "com.apple.Safari",
        "com.apple.SafariTechnologyPreview",
        "com.google.Chrome",
        "com.google.Chrome.beta",
        "com.google.Chrome.dev",
        "com.google.Chrome.canary",
        "org.chromium.Chromium",
        "org.mozilla.firefox",
        "org.mozilla.firefoxdeveloperedition",
        "org.mozilla.nightly",
        "com.microsoft.edgemac",
        "com.brave.Browser",
        "company.thebrowser.Browser",
        "company.thebrowser.dia",
        "com.operasoftware.Opera",
        "com.operasoftware.OperaGX",
        "com.vivaldi.Vivaldi",
        "com.duckduckgo.macos.browser",
        "com.kagi.kagimacOS",
        "app.zen-browser.zen",
        "org.torproject.torbrowser",
        "com.microsoft.edgemac.Beta",
        "com.microsoft.edgemac.Dev",
        "com.microsoft.edgemac.Canary",
        "com.brave.Browser.beta",
        "com.brave.Browser.nightly",
        "com.operasoftware.OperaNext",
        "com.operasoftware.OperaDeveloper",
        "ru.yandex.desktop.yandex-browser",
        "com.naver.Whale",
        "org.mozilla.librewolf",
        "net.waterfox.waterfox",
        "net.mullvad.mullvadbrowser",
        "com.sigmaos.sigmaos.macos",
        "ai.perplexity.comet",
        "com.openai.atlas",
        "com.pushplaylabs.sidekick",
        "com.maxthon.mac.Maxthon",
        "io.github.ungoogled-software.ungoogled-chromium",
    };
    return table;
}

bool isBrowser(const AppIdentity& app, const std::vector<std::string>& installed) {
    const std::string key = lowercased(app.bundleID.value_or(app.id));
    const auto isThis = [&](std::string_view candidate) {
        return matches(key, candidate);
    };
    return !app.cannotBeNamed() && (std::any_of(known().begin(), known().end(), isThis) ||
                                    std::any_of(installed.begin(), installed.end(), isThis));
}

} // namespace velmoran::Browser
