#include "support/TemporaryDirectory.h"
#include "system/linux/nodes/VideoDevices.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(CameraName, IsSaidOnce) {
    EXPECT_EQ(cameraName("Integrated Camera: Integrated C"), "Integrated Camera");
    EXPECT_EQ(cameraName("HD Webcam: HD Webcam\n"), "HD Webcam");
}

TEST(CameraName, StaysWhereTheSecondHalfSaysMore) {
    EXPECT_EQ(cameraName("Integrated Camera: Integrated I"), "Integrated Camera: Integrated I");
    EXPECT_EQ(cameraName("UVC Camera (046d:0825)"), "UVC Camera (046d:0825)");
}

TEST(CameraName, IsUnknownWhereThereIsNone) {
    EXPECT_EQ(cameraName(""), "Unknown camera");
    EXPECT_EQ(cameraName(" \n"), "Unknown camera");
}

class VideoDevicesTest : public ::testing::Test {
protected:
    std::vector<VideoDevice> list(const std::string& folder = "dev") {
        VideoDevices::Places places;
        places.deviceFolder = folder_.path(folder);
        places.classFolder = folder_.path("class");
        places.udev = false;
        return VideoDevices(loop_, places, [] {}).list();
    }
    std::string node(const std::string& name) { return folder_.write("dev/" + name, ""); }

    EventLoop loop_;
    TemporaryDirectory folder_;
};

TEST_F(VideoDevicesTest, AreNoneWithoutAFolder) {
    EXPECT_TRUE(list().empty());
}

TEST_F(VideoDevicesTest, StandInTheOrderOfTheirNumbers) {
    node("video10");
    node("video9");
    node("video2");
    std::vector<std::string> nodes;
    for (const auto& device : list()) {
        EXPECT_EQ(device.name, "Unknown camera");
        nodes.insert(nodes.end(), device.nodes.begin(), device.nodes.end());
    }
    EXPECT_EQ(nodes, (std::vector{folder_.path("dev/video2"), folder_.path("dev/video9"),
                                  folder_.path("dev/video10")}));
}

TEST_F(VideoDevicesTest, AreCalledAsTheirHoldersHaveThemThoughTheFolderEndsWithASlash) {
    const auto path = node("video0");
    const auto cameras = list("dev/");
    ASSERT_EQ(cameras.size(), 1u);
    EXPECT_EQ(cameras[0].nodes, std::vector{path});
}

TEST_F(VideoDevicesTest, AreNothingElseInTheFolder) {
    for (const auto* name : {"video", "videox", "video1x", "vbi0", "media0", "avideo0"}) {
        node(name);
    }
    EXPECT_TRUE(list().empty());
}

TEST_F(VideoDevicesTest, ShowSeveralNodesOfOneDeviceAsOneCamera) {
    const auto first = node("video0");
    const auto second = node("video1");
    const auto third = node("video2");
    folder_.write("devices/usb1/uevent", "");
    folder_.write("devices/usb2/uevent", "");
    folder_.write("class/video0/name", "Front: Front\n");
    folder_.write("class/video1/name", "Front: Front\n");
    folder_.write("class/video2/name", "Back\n");
    folder_.link("class/video0/device", folder_.path("devices/usb1"));
    folder_.link("class/video1/device", folder_.path("devices/usb1"));
    folder_.link("class/video2/device", folder_.path("devices/usb2"));
    const auto cameras = list();
    ASSERT_EQ(cameras.size(), 2u);
    EXPECT_EQ(cameras[0].name, "Front");
    EXPECT_EQ(cameras[0].nodes, (std::vector{first, second}));
    EXPECT_EQ(cameras[1].name, "Back");
    EXPECT_EQ(cameras[1].nodes, std::vector{third});
}

} // namespace
} // namespace velmoran
