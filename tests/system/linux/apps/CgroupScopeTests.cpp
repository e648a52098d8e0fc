#include "system/linux/apps/CgroupScope.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Kind = CgroupScope::Kind;
const std::string app = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

std::optional<CgroupScope> parse(const std::string& path) {
    return parseCgroupScope(std::string_view(path));
}

TEST(CgroupScope, ReadsFlatpaks) {
    EXPECT_EQ(parse(app + "app-flatpak-org.mozilla.firefox-12345.scope"),
              (CgroupScope{Kind::flatpak, "org.mozilla.firefox", ""}));
    EXPECT_EQ(parse(app + "app-flatpak-com.example.Two\\x2dPart-7.scope"),
              (CgroupScope{Kind::flatpak, "com.example.Two-Part", ""}));
}

TEST(CgroupScope, ReadsSnaps) {
    EXPECT_EQ(parse(app + "snap.firefox.firefox-0a1b2c3d-1111-2222-3333-444455556666.scope"),
              (CgroupScope{Kind::snap, "firefox", "firefox"}));
    EXPECT_EQ(parse(app + "snap.two-part.the-app-0a1b2c3d-1111-2222-3333-444455556666.scope"),
              (CgroupScope{Kind::snap, "two-part", "the-app"}));
    EXPECT_EQ(parse("/system.slice/snap.cups.cupsd.service"),
              (CgroupScope{Kind::snap, "cups", "cupsd"}));
}

TEST(CgroupScope, ReadsAppsWithAndWithoutALauncher) {
    EXPECT_EQ(parse(app + "app-gnome-org.gnome.Cheese-4711.scope"),
              (CgroupScope{Kind::desktop, "org.gnome.Cheese", ""}));
    EXPECT_EQ(parse(app + "app-org.kde.kamoso-4711.scope"),
              (CgroupScope{Kind::desktop, "org.kde.kamoso", ""}));
    EXPECT_EQ(parse(app + "app-gnome-firefox\\x2desr-4711.scope"),
              (CgroupScope{Kind::desktop, "firefox-esr", ""}));
    EXPECT_EQ(parse(app + "app-org.kde.konsole@0a1b.service"),
              (CgroupScope{Kind::desktop, "org.kde.konsole", ""}));
    EXPECT_EQ(parse(app + "app-gnome-x@autostart.service"), (CgroupScope{Kind::desktop, "x", ""}));
}

TEST(CgroupScope, LooksAboveUnitsOfOtherForms) {
    EXPECT_EQ(parse(app + "app-gnome-x-1.scope/tab/inner"), (CgroupScope{Kind::desktop, "x", ""}));
    EXPECT_EQ(parseCgroupScope(std::vector<std::string>{"/", "/p", app + "app-x-1.scope"}),
              (CgroupScope{Kind::desktop, "x", ""}));
}

TEST(CgroupScope, GivesNothingForOtherForms) {
    for (const std::string& path :
         {std::string("/"), std::string(), std::string("/user.slice/session-2.scope"),
          app + "app-.scope", app + "app-x.scope", app + "app-flatpak-x.scope", app + "snap..scope",
          app + "snap.x.scope", app + "app-@.service", app + "vte-spawn-1.scope",
          std::string("app.slice")}) {
        EXPECT_FALSE(parse(path)) << path;
    }
}

TEST(CgroupScope, LeavesABrokenEscapeAsItIs) {
    EXPECT_EQ(parse(app + "app-a-b\\xzz\\x2-1.scope"),
              (CgroupScope{Kind::desktop, "b\\xzz\\x2", ""}));
}

} // namespace
} // namespace velmoran
