#include "core/stopping/BrowserLinux.h"

#include "core/base/ProgramName.h"
#include "core/stopping/Browser.h"

#include <algorithm>

namespace velmoran::Browser {

const std::vector<std::string>& knownOnLinux() {
    static const std::vector<std::string> table = {
        // Firefox and its kin
        "firefox",
        "firefox-esr",
        "firefox-beta",
        "firefox-developer-edition",
        "firefoxdeveloperedition",
        "firefox-devedition",
        "firefox-nightly",
        "firefox_firefox",
        "org.mozilla.firefox",
        "org.mozilla.FirefoxNightly",
        "librewolf",
        "io.gitlab.librewolf-community",
        "waterfox",
        "net.waterfox.waterfox",
        "floorp",
        "one.ablaze.floorp",
        "zen",
        "zen-browser",
        "app.zen_browser.zen",
        "torbrowser",
        "start-tor-browser",
        "org.torproject.torbrowser-launcher",
        "mullvad-browser",
        "net.mullvad.MullvadBrowser",
        "icecat",
        "org.gnu.icecat",
        "palemoon",
        "seamonkey",
        "basilisk",
        // Chromium and its kin
        "chromium",
        "chromium-browser",
        "chromium_chromium",
        "org.chromium.Chromium",
        "io.github.ungoogled_software.ungoogled_chromium",
        "google-chrome",
        "google-chrome-beta",
        "google-chrome-unstable",
        "com.google.Chrome",
        "com.google.ChromeDev",
        "brave-browser",
        "brave-browser-beta",
        "brave-browser-nightly",
        "brave_brave",
        "com.brave.Browser",
        "microsoft-edge",
        "microsoft-edge-beta",
        "microsoft-edge-dev",
        "com.microsoft.Edge",
        "com.microsoft.EdgeDev",
        "vivaldi-stable",
        "vivaldi-snapshot",
        "com.vivaldi.Vivaldi",
        "opera",
        "opera-beta",
        "opera-developer",
        "opera_opera",
        "com.opera.Opera",
        "yandex-browser",
        "yandex-browser-beta",
        "ru.yandex.Browser",
        "thorium-browser",
        // The desktops' own
        "org.gnome.Epiphany",
        "epiphany",
        "epiphany-browser",
        "falkon",
        "org.kde.falkon",
        "konqueror",
        "org.kde.konqueror",
        "org.kde.angelfish",
        "io.elementary.web",
        "midori",
        "org.midori_browser.Midori",
        "org.qutebrowser.qutebrowser",
        "qutebrowser",
        "nyxt",
        "com.atlas.Nyxt",
        "luakit",
        "netsurf-gtk",
        "dillo",
        "badwolf",
        "min",
    };
    return table;
}

const std::vector<std::string_view>& programsOnLinux() {
    static const std::vector<std::string_view> table = {
        // Firefox and its kin; where "-bin" or ".real" is the program, the short name is a script
        // in some editions and a program in others.
        "firefox",
        "firefox-bin",
        "firefox.real",
        "firefox-esr",
        "firefox-trunk",
        "librewolf",
        "librewolf-bin",
        "waterfox",
        "waterfox-bin",
        "floorp",
        "floorp-bin",
        "zen",
        "zen-bin",
        "mullvadbrowser",
        "mullvadbrowser.real",
        "icecat",
        "icecat-bin",
        "palemoon",
        "palemoon-bin",
        "seamonkey",
        "seamonkey-bin",
        "basilisk",
        "basilisk-bin",
        // Chromium and its kin
        "chrome",
        "chromium",
        "chromium-browser",
        "brave",
        "msedge",
        "vivaldi-bin",
        "opera",
        "opera-beta",
        "opera-developer",
        "yandex_browser",
        "whale",
        "thorium",
        // The desktops' own
        "epiphany",
        "epiphany-browser",
        "falkon",
        "konqueror",
        "angelfish",
        "midori",
        "qutebrowser",
        "nyxt",
        "luakit",
        "netsurf-gtk",
        "netsurf-gtk2",
        "netsurf-gtk3",
        "dillo",
        "badwolf",
    };
    return table;
}

bool runsABrowserOnLinux(const AppIdentity& app) {
    const std::string& path = app.path ? *app.path : app.id;
    const auto& programs = programsOnLinux();
    return path.starts_with('/') && !app.cannotBeNamed() &&
           std::find(programs.begin(), programs.end(), programName(path)) != programs.end();
}

bool isBrowserOnLinux(const AppIdentity& app, std::vector<std::string> installed) {
    installed.insert(installed.end(), knownOnLinux().begin(), knownOnLinux().end());
    return isBrowser(app, installed) || runsABrowserOnLinux(app);
}

} // namespace velmoran::Browser
