#include "system/linux/apps/CgroupScope.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using ScopeKind = CgroupScope::Kind;
const std::string appSlice = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

std::optional<CgroupScope> parse(const std::string& path) {
    return parseCgroupScope(std::string_view(path));
}

TEST(CgroupScope, ReadsFlatpaks) {
    EXPECT_EQ(parse(appSlice + "app-flatpak-org.mozilla.firefox-12345.scope"),
              (CgroupScope{ScopeKind::flatpak, "org.mozilla.firefox", ""}));
    EXPECT_EQ(parse(appSlice + "app-flatpak-com.example.Two\\x2dPart-7.scope"),
              (CgroupScope{ScopeKind::flatpak, "com.example.Two-Part", ""}));
}

TEST(CgroupScope, ReadsSnaps) {
    EXPECT_EQ(parse(appSlice + "snap.firefox.firefox-0a1b2c3d-1111-2222-3333-444455556666.scope"),
              (CgroupScope{ScopeKind::snap, "firefox", "firefox"}));
    EXPECT_EQ(parse(appSlice + "snap.two-part.the-app-0a1b2c3d-1111-2222-3333-444455556666.scope"),
              (CgroupScope{ScopeKind::snap, "two-part", "the-app"}));
    EXPECT_EQ(parse("/system.slice/snap.cups.cupsd.service"),
              (CgroupScope{ScopeKind::snap, "cups", "cupsd"}));
}

TEST(CgroupScope, ReadsAppsWithAndWithoutALauncher) {
    EXPECT_EQ(parse(appSlice + "app-gnome-org.gnome.Cheese-4711.scope"),
              (CgroupScope{ScopeKind::desktop, "org.gnome.Cheese", ""}));
    EXPECT_EQ(parse(appSlice + "app-org.kde.kamoso-4711.scope"),
              (CgroupScope{ScopeKind::desktop, "org.kde.kamoso", ""}));
    EXPECT_EQ(parse(appSlice + "app-gnome-firefox\\x2desr-4711.scope"),
              (CgroupScope{ScopeKind::desktop, "firefox-esr", ""}));
    EXPECT_EQ(parse(appSlice + "app-org.kde.konsole@0a1b.service"),
              (CgroupScope{ScopeKind::desktop, "org.kde.konsole", ""}));
    EXPECT_EQ(parse(appSlice + "app-gnome-x@autostart.service"),
              (CgroupScope{ScopeKind::desktop, "x", ""}));
}

TEST(CgroupScope, LooksAboveUnitsOfOtherForms) {
    EXPECT_EQ(parse(appSlice + "app-gnome-x-1.scope/tab/inner"),
              (CgroupScope{ScopeKind::desktop, "x", ""}));
    EXPECT_EQ(parseCgroupScope(std::vector<std::string>{"/", "/p", appSlice + "app-x-1.scope"}),
              (CgroupScope{ScopeKind::desktop, "x", ""}));
}

TEST(CgroupScope, GivesNothingForOtherForms) {
    for (const std::string& path :
         {std::string("/"), std::string(), std::string("/user.slice/session-2.scope"),
          appSlice + "app-.scope", appSlice + "app-x.scope", appSlice + "app-flatpak-x.scope",
          appSlice + "snap..scope", appSlice + "snap.x.scope", appSlice + "app-@.service",
          appSlice + "vte-spawn-1.scope", std::string("app.slice")}) {
        EXPECT_FALSE(parse(path)) << path;
    }
}

TEST(CgroupScope, LeavesABrokenEscapeAsItIs) {
    EXPECT_EQ(parse(appSlice + "app-a-b\\xzz\\x2-1.scope"),
              (CgroupScope{ScopeKind::desktop, "b\\xzz\\x2", ""}));
}

} // namespace
} // namespace velmoran
