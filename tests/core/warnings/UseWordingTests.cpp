#include "core/warnings/UseWording.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

UsageSession use(const std::string& name, Device device) {
    UsageSession session;
    session.device = device;
    session.app = {.id = name, .name = name, .bundleID = {}, .path = {}, .teamID = {}};
    return session;
}

UsageSession unnamed(const std::string& id, Device device) {
    auto session = use(id, device);
    session.app.unidentified = true;
    return session;
}

TEST(UseWording, SaysWhichAppUsesWhichDevices) {
    EXPECT_THAT(UseWording::lines({}), IsEmpty());
    EXPECT_THAT(
        UseWording::lines({use("Zoom", Device::microphone), use("Cheese", Device::camera),
                           use("Zoom", Device::camera)}),
        ElementsAre("Zoom is using the camera and microphone", "Cheese is using the camera"));
}

TEST(UseWording, LeavesTheSpeakerOut) {
    EXPECT_THAT(UseWording::lines({use("Music", Device::speaker), use("Zoom", Device::speaker),
                                   use("Zoom", Device::camera)}),
                ElementsAre("Zoom is using the camera"));
}

TEST(UseWording, CallsAllThatCannotBeNamedOne) {
    auto nobody = use("x", Device::camera);
    nobody.app = AppIdentity::unknown();
    EXPECT_THAT(UseWording::lines({unnamed("unidentified:7", Device::microphone),
                                   unnamed("unidentified:8", Device::microphone), nobody}),
                ElementsAre("Unknown app is using the camera and microphone"));
}

TEST(UseWording, StaysShort) {
    std::vector<UsageSession> many;
    for (int number = 0; number < 50; ++number) {
        many.push_back(use("App " + std::to_string(number), Device::camera));
    }
    const auto lines = UseWording::lines(many);
    EXPECT_THAT(lines, SizeIs(UseWording::mostApps + 1));
    EXPECT_EQ(lines.back(), "…");
    many.resize(UseWording::mostApps);
    EXPECT_THAT(UseWording::lines(many), SizeIs(UseWording::mostApps));
}

} // namespace
} // namespace velmoran
