#include "support/FakeProc.h"
#include "support/TemporaryDirectory.h"
#include "system/linux/apps/ServingPrograms.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace velmoran {
namespace {

class ServingProgramsTest : public ::testing::Test {
protected:
    void run(pid_t pid, const std::string& executable) {
        FakeProc::Process process;
        process.executable = executable;
        proc_.add(pid, process);
    }
    bool serves(pid_t pid) {
        return servesOthers(pid, proc_.fs(), WriteProtection(files_.path(), ::getuid()));
    }

    TemporaryDirectory files_;
    FakeProc proc_;
};

TEST_F(ServingProgramsTest, AreSoundServersAndTheirSessionManagers) {
    for (const auto* name : {"pipewire", "pipewire-pulse", "wireplumber", "pulseaudio"}) {
        run(7, files_.write(std::string("usr/bin/") + name, "", true));
        EXPECT_TRUE(serves(7)) << name;
    }
}

TEST_F(ServingProgramsTest, AreNotOthers) {
    run(7, files_.write("usr/bin/arecord", "", true));
    EXPECT_FALSE(serves(7));
    run(8, files_.write("usr/bin/pipewire-recorder", "", true));
    EXPECT_FALSE(serves(8));
    EXPECT_FALSE(serves(9)); // gone
}

TEST_F(ServingProgramsTest, AreNotThoseThatAnybodyCanHavePutThere) {
    const auto program = files_.write("home/me/pipewire", "", true);
    std::filesystem::permissions(files_.path("home/me"), std::filesystem::perms(0777));
    run(7, program);
    EXPECT_FALSE(serves(7));
}

TEST(ServingPrograms, PassSoundOnByTheirNames) {
    for (const auto* name : {"/usr/bin/pipewire", "/usr/bin/pipewire-pulse", "/usr/bin/pw-loopback",
                             "/usr/bin/pw-cli"}) {
        EXPECT_TRUE(passesSoundOn(name)) << name;
    }
    for (const auto* name :
         {"", "/usr/bin/wireplumber", "/usr/bin/pw-record", "/opt/pipewire/app"}) {
        EXPECT_FALSE(passesSoundOn(name)) << name;
    }
}

} // namespace
} // namespace velmoran
