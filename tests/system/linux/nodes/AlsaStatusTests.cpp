#include "system/linux/nodes/AlsaStatus.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(AlsaStatus, IsClosed) {
    EXPECT_EQ(parseAlsaStatus("closed\n"), AlsaStatus());
}

TEST(AlsaStatus, RunsForItsOwner) {
    const auto status = parseAlsaStatus("state: RUNNING\n"
                                        "owner_pid   : 2323\n"
                                        "trigger_time: 171.130226142\n"
                                        "tstamp      : 173.407229219\n"
                                        "delay       : 64\n"
                                        "-----\n"
                                        "hw_ptr      : 109312\n"
                                        "appl_ptr    : 109248\n");
    EXPECT_TRUE(status.isOpen);
    EXPECT_TRUE(status.isRunning);
    EXPECT_EQ(status.ownerPid, 2323);
}

TEST(AlsaStatus, IsOpenWithoutSound) {
    for (const auto* state : {"OPEN", "SETUP", "PREPARED", "PAUSED", "SUSPENDED", "DISCONNECTED"}) {
        const auto status = parseAlsaStatus(std::string("state: ") + state + "\nowner_pid   : 5\n");
        EXPECT_TRUE(status.isOpen) << state;
        EXPECT_FALSE(status.isRunning) << state;
        EXPECT_EQ(status.ownerPid, 5) << state;
    }
}

TEST(AlsaStatus, HasNoOwnerInAnotherForm) {
    for (const auto* owner : {"", "x", "-5", "5x", "99999999999"}) {
        EXPECT_EQ(parseAlsaStatus(std::string("state: RUNNING\nowner_pid : ") + owner).ownerPid, 0)
            << owner;
    }
}

TEST(AlsaStatus, IsClosedInAnotherForm) {
    for (const auto* text : {"", "\n\n", "state RUNNING", "owner_pid   : 5\n", "STATE: RUNNING"}) {
        EXPECT_EQ(parseAlsaStatus(text), AlsaStatus()) << text;
    }
}

TEST(AlsaNode, SaysCardDeviceAndDirection) {
    const auto capture = parseAlsaNode("pcmC1D12c");
    EXPECT_EQ(capture.card, 1);
    EXPECT_EQ(capture.device, 12);
    EXPECT_TRUE(capture.isCapture);
    EXPECT_FALSE(parseAlsaNode("pcmC0D0p").isCapture);
    EXPECT_EQ(parseAlsaNode("pcmC0D0p").card, 0);
}

TEST(AlsaNode, IsNoneOfTheOthers) {
    for (const auto* name : {"", "pcm", "controlC0", "pcmC0D0", "pcmCD0c", "pcmC0Dc", "pcmC0D0cc",
                             "pcmC-1D0c", "hwC0D0", "seq", "timer", "pcmC99999999999D0c"}) {
        EXPECT_LT(parseAlsaNode(name).card, 0) << name;
    }
}

} // namespace
} // namespace velmoran
