#include "system/linux/away/InputWatch.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace velmoran {
namespace {

/// What the session says, and nothing else of these.
InputWatch::Places placesWith(const std::map<std::string, std::string>& environment) {
    for (const auto* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "XDG_SEAT"}) {
        ::unsetenv(name); // NOLINT(concurrency-mt-unsafe): nothing else runs
        if (const auto value = environment.find(name); value != environment.end()) {
            ::setenv(name, value->second.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
        }
    }
    return InputWatch::Places::ofThisSession();
}

TEST(InputPlaces, AreThoseOfTheSession) {
    const auto none = placesWith({});
    EXPECT_EQ(none.display, "");
    EXPECT_FALSE(none.isWayland);
    EXPECT_EQ(none.seat, "seat0");
    const auto x = placesWith({{"DISPLAY", ":3"}, {"XDG_SESSION_TYPE", "x11"}});
    EXPECT_EQ(x.display, ":3");
    EXPECT_FALSE(x.isWayland);
    EXPECT_TRUE(placesWith({{"DISPLAY", ":3"}, {"WAYLAND_DISPLAY", "wayland-0"}}).isWayland);
    EXPECT_TRUE(placesWith({{"DISPLAY", ":3"}, {"XDG_SESSION_TYPE", "wayland"}}).isWayland);
    EXPECT_FALSE(placesWith({{"WAYLAND_DISPLAY", ""}}).isWayland);
    EXPECT_TRUE(
        placesWith({{"WAYLAND_DISPLAY", "wayland-1"}, {"XDG_SESSION_TYPE", "tty"}}).isWayland);
    EXPECT_FALSE(
        placesWith(
            {{"DISPLAY", ":3"}, {"WAYLAND_DISPLAY", "wayland-0"}, {"XDG_SESSION_TYPE", "x11"}})
            .isWayland)
        << "left by an earlier session";
    EXPECT_EQ(placesWith({{"XDG_SEAT", "seat1"}}).seat, "seat1");
}

} // namespace
} // namespace velmoran
