// A Linux machine with its names, and what they should answer.
#pragma once

#include "support/LinuxWorld.h"
#include "system/linux/apps/LinuxAppNames.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace velmoran {

class LinuxAppNamesTest : public ::testing::Test {
protected:
    LinuxAppNames& names() {
        if (!names_) {
            names_.emplace(world.places());
        }
        return *names_;
    }
    AppRef identify(pid_t pid) { return names().identify(pid); }
    static AppRef app(const std::string& name, const std::string& id, const std::string& path) {
        return {.name = name, .bundleID = id, .path = path};
    }
    static AppRef file(const std::string& name, const std::string& path) {
        return {.name = name, .bundleID = {}, .path = path};
    }
    /// One that isn't root's, in a folder as it is shown.
    static AppRef outside(const std::string& name, const std::string& folder,
                          const std::string& path) {
        return file(name + " (" + folder + ')', path);
    }
    static AppRef unknown(pid_t pid) {
        return {.name = "Unknown app",
                .bundleID = "unidentified:" + std::to_string(pid),
                .path = {},
                .unidentified = true};
    }
    /// A browser with a helper, as root installs one.
    void installBrowser() {
        world.program("usr/lib/firefox/firefox");
        world.program("usr/lib/firefox/plugin-container");
        world.link("usr/bin/firefox", world.path("usr/lib/firefox/firefox"));
        world.entry("org.mozilla.firefox", "Name=Firefox\nExec=firefox %u\nIcon=firefox-icon");
    }
    AppRef browser() {
        return app("Firefox", "org.mozilla.firefox", world.path("usr/lib/firefox/firefox"));
    }

    LinuxWorld world;

private:
    std::optional<LinuxAppNames> names_;
};

} // namespace velmoran
