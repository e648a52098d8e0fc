#include "system/linux/away/OwnSession.h"

#include <gtest/gtest.h>

#include <optional>

namespace velmoran {
namespace {

std::string own(const std::vector<LoginSession>& sessions, const OwnPlace& place) {
    const auto* found = ownSession(sessions, place);
    return found == nullptr ? "none" : found->id;
}

const LoginSession seat0 = {.path = "/s/_31", .id = "1", .type = "x11", .display = ":0"};
const LoginSession seat1 = {.path = "/s/_32", .id = "2", .type = "x11", .display = ":1"};
const LoginSession wayland = {.path = "/s/_33", .id = "3", .type = "wayland", .display = ""};
const LoginSession console = {.path = "/s/_34", .id = "4", .type = "tty", .display = ""};

TEST(OwnSession, IsTheOneInTheEnvironment) {
    EXPECT_EQ(
        own({seat0, seat1, wayland}, {.sessionId = "3", .display = ":0", .loggedInto = "/s/_31"}),
        "3");
}

TEST(OwnSession, IsTheOneOfTheDisplay) {
    EXPECT_EQ(own({seat0, seat1}, {.sessionId = "", .display = ":1", .loggedInto = "/s/_31"}), "2");
    EXPECT_EQ(own({seat0, seat1}, {.sessionId = "", .display = ":1.0", .loggedInto = ""}), "2");
    EXPECT_EQ(own({seat0, seat1}, {.sessionId = "", .display = ":10", .loggedInto = ""}), "none");
}

TEST(OwnSession, IsTheDisplaysAlsoForAShellFromElsewhere) {
    EXPECT_EQ(
        own({console, seat0, seat1}, {.sessionId = "4", .display = ":1", .loggedInto = "/s/_34"}),
        "2");
    EXPECT_EQ(own({console, wayland}, {.sessionId = "4", .display = "", .loggedInto = "/s/_34"}),
              "3");
}

TEST(OwnSession, IsTheUsersWhereTheServiceManagerHasStartedUs) {
    EXPECT_EQ(own({seat0, wayland}, {.sessionId = "", .display = "", .loggedInto = "/s/_33"}), "3");
    EXPECT_EQ(own({console, wayland}, {.sessionId = "", .display = "", .loggedInto = ""}), "3");
}

TEST(OwnSession, IsTheConsoleFromWhichAServerWasStarted) {
    EXPECT_EQ(own({console}, {.sessionId = "4", .display = ":0", .loggedInto = ""}), "4");
    EXPECT_EQ(own({console}, {.sessionId = "", .display = ":0", .loggedInto = "/s/_34"}), "4");
}

TEST(OwnSession, IsNoneWhereSeveralCanBeIt) {
    EXPECT_EQ(own({seat0, wayland}, {.sessionId = "", .display = "", .loggedInto = ""}), "none");
    EXPECT_EQ(own({seat0, wayland}, {.sessionId = "9", .display = ":7", .loggedInto = "/s/_39"}),
              "none");
    EXPECT_EQ(own({}, {.sessionId = "1", .display = ":0", .loggedInto = "/s/_31"}), "none");
    EXPECT_EQ(own({console}, {.sessionId = "", .display = "", .loggedInto = ""}), "none");
}

} // namespace
} // namespace velmoran
