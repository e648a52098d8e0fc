// The lock of a real GNOME Shell without a screen. It locks only where a display manager of GNOME's
// could unlock it again, which is played here, and where systemd has seats.
#include "integration/ScreenLockScene.h"

#include <gtest/gtest.h>

#include <string>

#include <unistd.h>

namespace velmoran {
namespace {

using support::waitUntil;

class GnomeLockTest : public ScreenLockScene {
protected:
    static constexpr const char* manager = "org.gnome.DisplayManager";

    void SetUp() override {
        // Too large to be installed for this alone.
        if (::access("/usr/bin/gnome-shell", X_OK) != 0 ||
            ::access("/run/systemd/seats", F_OK) != 0) {
            GTEST_SKIP() << "there is no GNOME Shell with seats of systemd";
        }
        session_.need({"gdbus"});
        services_.startLogind();
        own_ = services_.addSession("auto", "wayland");
        session_.start(manager,
                       {"/usr/bin/python3", "-m", "dbusmock", "--system", manager,
                        "/org/gnome/DisplayManager/Manager", "org.gnome.DisplayManager.Manager"});
        ASSERT_TRUE(waitUntil([&] {
            return session_
                .run({"gdbus", "call", "--system", "-d", manager, "-o",
                      "/org/gnome/DisplayManager/Manager", "-m",
                      "org.freedesktop.DBus.Mock.AddProperty", "org.gnome.DisplayManager.Manager",
                      "Version", "<'43.0'>"})
                .succeeded();
        })) << session_.logs();
        auto& environment = session_.environment();
        environment["XDG_CURRENT_DESKTOP"] = "GNOME";
        environment["GSETTINGS_BACKEND"] = "memory";
        environment["XDG_SESSION_ID"] = "auto";
        session_.start("gnome-shell", {"gnome-shell", "--headless", "--virtual-monitor", "1280x800",
                                       "--wayland-display", "wayland-1", "--no-x11"});
        observe();
        ASSERT_TRUE(waitUntil([&] { return shell("GetActive") == "(false,)\n"; }))
            << session_.logs();
    }
    std::string shell(const std::string& method, const std::string& argument = "") {
        std::vector<std::string> call = {"gdbus",
                                         "call",
                                         "--session",
                                         "-d",
                                         "org.gnome.Shell.ScreenShield",
                                         "-o",
                                         "/org/gnome/ScreenSaver",
                                         "-m",
                                         "org.gnome.ScreenSaver." + method};
        if (!argument.empty()) {
            call.push_back(argument);
        }
        return session_.run(call).output;
    }

    std::string own_;
};

TEST_F(GnomeLockTest, IsToldOnceAndItsEndOnce) {
    EXPECT_TRUE(lock_->isAnnounced());
    shell("Lock");
    ASSERT_TRUE(awaitTold({"lock"})) << session_.logs();
    EXPECT_EQ(shell("GetActive"), "(true,)\n");
    shell("SetActive", "false");
    EXPECT_TRUE(awaitTold({"lock", "unlock"})) << session_.logs();
    // As somebody else does who may.
    services_.lock(own_);
    EXPECT_TRUE(awaitTold({"lock", "unlock", "lock"})) << session_.logs();
    EXPECT_TRUE(waitUntil([&] { return shell("GetActive") == "(true,)\n"; }));
    services_.unlock(own_);
    EXPECT_TRUE(awaitTold({"lock", "unlock", "lock", "unlock"})) << session_.logs();
}

} // namespace
} // namespace velmoran
