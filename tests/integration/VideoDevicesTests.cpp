// What udev tells of cameras, with devices that umockdev plays.
#include "integration/UnderUmockdev.h"
#include "support/Waiting.h"
#include "system/linux/nodes/VideoDevices.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include <umockdev.h>

namespace velmoran {
namespace {

using support::underUmockdev;
using support::waitUntil;

std::string add(UMockdevTestbed* testbed, const char* subsystem, const std::string& name,
                const std::string& parent, const std::string& cameraName, const char* abilities) {
    const auto node = "/dev/" + name;
    gchar* path = abilities ? umockdev_testbed_add_device(testbed, subsystem, name.c_str(),
                                                          parent.empty() ? nullptr : parent.c_str(),
                                                          "name", cameraName.c_str(), nullptr,
                                                          "DEVNAME", node.c_str(),
                                                          "ID_V4L_CAPABILITIES", abilities, nullptr)
                            : umockdev_testbed_add_device(testbed, subsystem, name.c_str(),
                                                          parent.empty() ? nullptr : parent.c_str(),
                                                          "name", cameraName.c_str(), nullptr,
                                                          "DEVTYPE", "usb_interface", nullptr);
    const std::string result = path;
    g_free(path);
    return result;
}

class VideoDevicesOfUdevTest : public ::testing::Test {
protected:
    static std::vector<std::string> namesOf(const std::vector<VideoDevice>& devices) {
        std::vector<std::string> names;
        for (const auto& device : devices) {
            names.push_back(device.name);
        }
        return names;
    }

    EventLoop loop_;
};

TEST_F(VideoDevicesOfUdevTest, ShowOneCameraForAllNodesOfADevice) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto usb = add(testbed, "usb", "1-1:1.0", "", "", nullptr);
        add(testbed, "video4linux", "video0", usb, "Integrated Camera: Integrated C", ":capture:");
        add(testbed, "video4linux", "video1", usb, "Integrated Camera: Integrated C", ":");
        add(testbed, "video4linux", "video2", usb, "Integrated Camera: Integrated C", ":capture:");
        VideoDevices devices(loop_, {}, [] {});
        const auto list = devices.list();
        ASSERT_EQ(namesOf(list), std::vector<std::string>{"Integrated Camera"});
        EXPECT_EQ(list[0].nodes, (std::vector<std::string>{"/dev/video0", "/dev/video2"}));
    });
}

TEST_F(VideoDevicesOfUdevTest, AreNotThoseThatOnlyShowPictures) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        add(testbed, "video4linux", "video0", "", "Encoder", ":video_output:");
        add(testbed, "video4linux", "video1", "", "Loopback", ":capture:video_output:");
        VideoDevices devices(loop_, {}, [] {});
        EXPECT_EQ(namesOf(devices.list()), std::vector<std::string>{"Loopback"});
    });
}

TEST_F(VideoDevicesOfUdevTest, ComeAndGoWithAnAnnouncement) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        std::atomic<int> changes = 0;
        std::unique_ptr<VideoDevices> devices;
        loop_.runAndWait([&] {
            devices =
                std::make_unique<VideoDevices>(loop_, VideoDevices::Places(), [&] { ++changes; });
        });
        const auto names = [&] {
            std::vector<std::string> result;
            loop_.runAndWait([&] { result = namesOf(devices->list()); });
            return result;
        };
        EXPECT_TRUE(names().empty());
        const auto usb = add(testbed, "usb", "1-2:1.0", "", "", nullptr);
        const auto camera = add(testbed, "video4linux", "video4", usb, "Webcam", ":capture:");
        umockdev_testbed_uevent(testbed, camera.c_str(), "add");
        EXPECT_TRUE(waitUntil([&] { return changes >= 1; }));
        EXPECT_EQ(names(), std::vector<std::string>{"Webcam"});
        const int before = changes;
        umockdev_testbed_uevent(testbed, camera.c_str(), "remove");
        umockdev_testbed_remove_device(testbed, camera.c_str());
        EXPECT_TRUE(waitUntil([&] { return changes > before; }));
        EXPECT_TRUE(names().empty());
        loop_.runAndWait([&] { devices.reset(); });
    });
}

} // namespace
} // namespace velmoran
