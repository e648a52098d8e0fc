#include "app/bus/TrustChoice.h"

#include "app/bus/AppChoice.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

AppIdentity identity(const std::string& name) {
    AppIdentity app;
    app.id = "org.example." + name;
    app.name = name;
    return app;
}

TrustList list() {
    TrustList list;
    list.set(TrustKind::trusted, identity("Zoom"), {Device::microphone});
    list.set(TrustKind::alwaysWarn, identity("Meet"), {Device::camera});
    list.set(TrustKind::trustedAlwaysWarn, identity("Zoom"), {Device::camera});
    list.set(TrustKind::trusted, identity("Surf"), {Device::camera});
    return list;
}

TEST(TrustChoice, ListsWhoIsTrustedOnce) {
    EXPECT_EQ(trustedApps(list()), (std::vector{identity("Zoom"), identity("Surf")}));
    EXPECT_TRUE(trustedApps({}).empty());
}

TEST(TrustChoice, TakesOneDeviceOrAll) {
    const auto all = trustOf(list(), identity("Zoom"), {});
    ASSERT_TRUE(all);
    EXPECT_EQ(all->devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(all->sentence(), "Zoom is no longer trusted with the camera and microphone.");
    const auto one = trustOf(list(), identity("Zoom"), Device::microphone);
    ASSERT_TRUE(one);
    EXPECT_EQ(one->devices, std::vector{Device::microphone});
    EXPECT_FALSE(trustOf(list(), identity("Surf"), Device::microphone));
    EXPECT_FALSE(trustOf(list(), identity("Meet"), {})) << "to be warned of is not to be trusted";
}

TEST(TrustChoice, PassesOverRulesThatNoLookupFinds) {
    const auto strange = decode<TrustList>(
        R"({"rules": [{"app": {"id": "unknown", "name": "X"}, "device": "camera", "kind": "trusted"},)"
        R"({"app": {"id": "a", "name": "A"}, "device": "speaker", "kind": "trusted"}]})");
    EXPECT_TRUE(trustedApps(strange).empty());
}

TEST(TrustChoice, SaysWhyNoneIsChosen) {
    const auto trusted = trustedApps(list());
    EXPECT_EQ(trustError("Fox", {}, trusted),
              "“Fox” isn't trusted. Trusted are: Zoom (org.example.Zoom) and Surf "
              "(org.example.Surf).");
    EXPECT_EQ(trustError("Fox", {}, {}), "“Fox” isn't trusted. No app is.");
    EXPECT_EQ(trustError(identity("Surf"), Device::microphone),
              "Surf isn't trusted with the microphone.");
}

} // namespace
} // namespace velmoran
