// Sensors of the IIO class, as folders of the kernel's form.
#include "support/Rights.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/linux/away/IioDevices.h"
#include "system/linux/away/IioLidAngle.h"
#include "system/linux/away/IioMotionSensorProbe.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

class Iio : public ::testing::Test {
protected:
    void set(const std::string& file, const std::string& text) {
        folder_.write("iio:device0/" + file, text);
    }
    /// As the driver of Intel's sensor hubs has it, with its steps of a degree in radians.
    void addHinge(const std::string& raw) {
        set("name", "hinge\n");
        set("in_angl_scale", "0.017453293\n");
        set("in_angl_offset", "0\n");
        set("in_angl0_label", "hinge\n");
        set("in_angl1_label", "screen\n");
        set("in_angl2_label", "keyboard\n");
        set("in_angl0_raw", raw + "\n");
        set("in_angl1_raw", "200\n");
        set("in_angl2_raw", "90\n");
    }
    std::optional<int> degrees() {
        const auto files = findHinge(folder_.path());
        return files ? hingeDegrees(*files) : std::nullopt;
    }

    TemporaryDirectory folder_;
};

using HingeOfIio = Iio;
using LidAngleOfIio = Iio;
using MotionSensorsOfIio = Iio;

TEST_F(HingeOfIio, IsNoneWithoutSensors) {
    EXPECT_FALSE(findHinge(folder_.path()));
    EXPECT_FALSE(findHinge("/nowhere"));
    EXPECT_EQ(IioLidAngle::open("/nowhere"), nullptr);
}

TEST_F(HingeOfIio, IsReadInWholeDegrees) {
    addHinge("112");
    EXPECT_EQ(degrees(), 112);
    set("in_angl_scale", "0.001745329\n");
    set("in_angl0_raw", "1126\n");
    EXPECT_EQ(degrees(), 113);
    set("in_angl_offset", "-10\n");
    EXPECT_EQ(degrees(), 112);
}

TEST_F(HingeOfIio, IsTheChannelThatIsCalledSo) {
    addHinge("112");
    set("in_angl0_label", "screen\n");
    set("in_angl1_label", "hinge\n");
    EXPECT_EQ(degrees(), 200);
}

TEST_F(HingeOfIio, IsReadFromAControllerThatTellsDegrees) {
    set("name", "cros-ec-lid-angle\n");
    set("in_angl_raw", "95\n");
    EXPECT_EQ(degrees(), 95);
}

TEST_F(HingeOfIio, EndsAtAFullTurn) {
    set("name", "cros-ec-lid-angle\n");
    set("in_angl_raw", "360\n");
    EXPECT_EQ(degrees(), 360);
    for (const auto* none : {"361\n", "500\n", "-1\n", "\n", "x\n", "12x\n", "nan\n"}) {
        set("in_angl_raw", none);
        EXPECT_EQ(degrees(), std::nullopt) << none;
    }
    set("in_angl_raw", "0\n");
    EXPECT_EQ(degrees(), 0);
}

TEST_F(HingeOfIio, IsNoOtherSensorOfAngles) {
    set("name", "as5600\n");
    set("in_angl_raw", "95\n");
    EXPECT_FALSE(findHinge(folder_.path()));
}

TEST_F(HingeOfIio, IsLookedForAmongOtherSensors) {
    folder_.write("iio:device1/name", "accel_3d\n");
    folder_.write("iio_sysfs_trigger/name", "hinge\n");
    addHinge("40");
    EXPECT_EQ(degrees(), 40);
}

TEST_F(LidAngleOfIio, FollowsTheLid) {
    addHinge("40");
    const auto angle = IioLidAngle::open(folder_.path());
    ASSERT_NE(angle, nullptr);
    for (const int degrees : {41, 90, 0, 360}) {
        set("in_angl0_raw", std::to_string(degrees) + "\n");
        // A slow machine may take more than one call.
        EXPECT_TRUE(support::waitUntil([&] { return angle->read() == degrees; })) << degrees;
    }
}

TEST_F(LidAngleOfIio, IsNothingWhereTheSensorGivesNone) {
    addHinge("500");
    EXPECT_EQ(IioLidAngle::open(folder_.path()), nullptr);
    addHinge("40");
    const auto angle = IioLidAngle::open(folder_.path());
    ASSERT_NE(angle, nullptr);
    std::filesystem::remove(folder_.path("iio:device0/in_angl0_raw"));
    EXPECT_TRUE(support::waitUntil([&] { return !angle->read(); }));
    set("in_angl0_raw", "50\n");
    EXPECT_TRUE(support::waitUntil([&] { return angle->read() == 50; }));
}

TEST_F(LidAngleOfIio, IsReadFirstAsItWasOpenedHoweverSlowTheSensorIs) {
    addHinge("40");
    const auto path = folder_.path("iio:device0/in_angl0_raw");
    std::filesystem::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    // It answers once, and would let the next reading wait.
    std::thread sensor([&] {
        const int pipe = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(::write(pipe, "40\n", 3), 3);
        ::close(pipe);
    });
    const auto angle = IioLidAngle::open(folder_.path());
    sensor.join();
    ASSERT_NE(angle, nullptr);
    EXPECT_EQ(angle->read(), 40);
    EXPECT_EQ(angle->read(), std::nullopt);
    const int both = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(both, 0); // so that this reading ends
    ::close(both);
}

TEST_F(LidAngleOfIio, KeepsNobodyWaitingForASlowSensor) {
    addHinge("40");
    const auto angle = IioLidAngle::open(folder_.path());
    ASSERT_NE(angle, nullptr);
    EXPECT_EQ(angle->read(), 40);
    // Whoever opens a pipe to read waits until somebody writes.
    const auto path = folder_.path("iio:device0/in_angl0_raw");
    std::filesystem::remove(path);
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(angle->read(), std::nullopt);
    EXPECT_EQ(angle->read(), std::nullopt);
    const int pipe = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    ASSERT_GE(pipe, 0);
    ASSERT_EQ(::write(pipe, "77\n", 3), 3);
    ::close(pipe);
    EXPECT_TRUE(support::waitUntil([&] { return angle->read() == 77; }));
    // The next reading waits again, and nobody waits for it here either. Now it may end.
    const int both = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(both, 0);
    ::close(both);
}

TEST_F(MotionSensorsOfIio, GiveNothingWhereThereAreNone) {
    IioMotionSensorProbe probe(folder_.path(), [](Seconds) {});
    EXPECT_EQ(probe.run(1), MotionSensorProbe::Result());
}

TEST_F(MotionSensorsOfIio, ReportTenTimesASecond) {
    set("name", "accel_3d\n");
    set("in_accel_x_raw", "12\n");
    folder_.write("iio:device1/in_accel_x_raw", "13\n");
    folder_.write("iio:device2/in_angl_raw", "13\n");
    Seconds passed = 0;
    IioMotionSensorProbe probe(folder_.path(), [&](Seconds seconds) { passed += seconds; });
    EXPECT_EQ(probe.run(2.05), (MotionSensorProbe::Result{
                                   .devicesFound = 2, .openStatus = 0, .reportsReceived = 40}));
    EXPECT_NEAR(passed, 2.05, 1e-9);
}

TEST_F(MotionSensorsOfIio, SayWhyTheyCantBeAsked) {
    const support::RightsLaidDown asAUser;
    ASSERT_TRUE(asAUser.isDone());
    folder_.write("iio:device0/in_accel_x_raw", "");
    std::filesystem::permissions(folder_.path("iio:device0/in_accel_x_raw"),
                                 std::filesystem::perms::none);
    folder_.write("iio:device1/in_accel_x_raw", "13\n");
    IioMotionSensorProbe probe(folder_.path(), [](Seconds) {});
    EXPECT_EQ(probe.run(1), (MotionSensorProbe::Result{
                                .devicesFound = 2, .openStatus = EACCES, .reportsReceived = 10}));
}

} // namespace
} // namespace velmoran
