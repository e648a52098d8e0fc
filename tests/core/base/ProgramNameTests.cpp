#include "core/base/ProgramName.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(ProgramName, IsTheFiles) {
    EXPECT_EQ(programName("/usr/bin/sway"), "sway");
    EXPECT_EQ(programName("/usr/bin/.sway-wrapped"), ".sway-wrapped");
    EXPECT_EQ(programName("/opt/tor/firefox.real"), "firefox.real");
    EXPECT_EQ(programName("sway"), "sway");
    EXPECT_EQ(programName("/usr/bin/"), "");
    EXPECT_EQ(programName(""), "");
}

TEST(ProgramName, IsFoundUnderNixsWrappers) {
    EXPECT_EQ(programName("/nix/store/a-gnome-shell-46/bin/.gnome-shell-wrapped"), "gnome-shell");
    EXPECT_EQ(programName("/nix/store/a-kwin-6/bin/.kwin_wayland-wrapped"), "kwin_wayland");
    EXPECT_EQ(programName("/nix/store/a-sway/bin/.sway-wrapped_"), "sway");
    EXPECT_EQ(programName("/nix/store/a-sway/bin/.sway-wrapped__"), "sway");
    EXPECT_EQ(programName("/nix/store/a-q/bin/..qutebrowser-wrapped-wrapped"), "qutebrowser");
    EXPECT_EQ(programName("/nix/store/a-q/bin/..qutebrowser-wrapped_-wrapped__"), "qutebrowser");
    EXPECT_EQ(programName("/nix/store/a-sway/bin/sway"), "sway");
}

TEST(ProgramName, IsFoundUnderGuixsWrappers) {
    EXPECT_EQ(programName("/gnu/store/a-gnome-shell-46/bin/.gnome-shell-real"), "gnome-shell");
    EXPECT_EQ(programName("/gnu/store/a-calibre/bin/..calibre-real-real"), "calibre");
    EXPECT_EQ(programName("/gnu/store/a-sway/bin/sway"), "sway");
}

TEST(ProgramName, IsLeftAsItIsWhereItOnlyResemblesAWrapped) {
    for (const std::string_view name :
         {"sway-wrapped", ".sway", ".sway_", ".sway-real", ".-wrapped", "-wrapped", "_", "___",
          "sway_", ".", ".sway-wrapped-", "kwin_wayland_wrapper"}) {
        EXPECT_EQ(programName("/nix/store/a/bin/" + std::string(name)), name);
    }
    for (const std::string_view name :
         {"sway-real", ".sway-wrapped", ".sway-real_", ".-real", "-real"}) {
        EXPECT_EQ(programName("/gnu/store/a/bin/" + std::string(name)), name);
    }
    EXPECT_EQ(programName("/home/u/nix/store/.sway-wrapped"), ".sway-wrapped");
    EXPECT_EQ(programName("/nix/storey/.sway-wrapped"), ".sway-wrapped");
}

} // namespace
} // namespace velmoran
