#include "system/linux/apps/LinuxCodeSignatures.h"

#include "core/sessions/SystemProcessLinux.h"
#include "support/LinuxWorld.h"

#include <gtest/gtest.h>

#include <thread>

namespace velmoran {
namespace {

class LinuxCodeSignaturesTest : public ::testing::Test {
protected:
    LinuxWorld world;
    LinuxCodeSignatures signatures{world.places()};
};

TEST_F(LinuxCodeSignaturesTest, SaysWhereAProgramComesFrom) {
    EXPECT_EQ(signatures.teamID(world.program("usr/bin/tool")), "system");
    EXPECT_EQ(signatures.teamID(world.path("var/lib/flatpak/app")), "system");
    world.program("var/lib/flatpak/app/org.example.App/x");
    EXPECT_EQ(signatures.teamID(world.path("var/lib/flatpak/app/org.example.App")),
              "flatpak:system");
    EXPECT_EQ(signatures.teamID(world.program("snap/tool/12/bin/tool")), "snap");
}

TEST_F(LinuxCodeSignaturesTest, SaysNothingOfWhatTheUsersProgramsCouldReplace) {
    EXPECT_FALSE(signatures.teamID(world.program("home/u/tool")));
    world.program("home/u/.local/share/flatpak/app/org.example.App/x");
    EXPECT_FALSE(signatures.teamID(world.path("home/u/.local/share/flatpak/app/org.example.App")));
    EXPECT_FALSE(signatures.teamID(world.path("usr/bin/none")));
    EXPECT_FALSE(signatures.teamID(""));
    // A link to what root has written is still the user's to turn elsewhere.
    EXPECT_FALSE(signatures.teamID(world.link("home/u/link", world.program("usr/bin/tool"))));
}

TEST_F(LinuxCodeSignaturesTest, ChecksAPathOnceForTheSystemsOwnCode) {
    const auto path = world.path("usr/bin/none-of-the-systems");
    const auto before = LinuxCodeSignatures::checks();
    EXPECT_FALSE(signatures.systemIdentifier(path));
    EXPECT_EQ(LinuxCodeSignatures::checks(), before + 1);
    EXPECT_FALSE(signatures.systemIdentifier(path));
    EXPECT_FALSE(LinuxCodeSignatures(world.places()).systemIdentifier(path));
    EXPECT_EQ(LinuxCodeSignatures::checks(), before + 1);
}

TEST_F(LinuxCodeSignaturesTest, ChecksAPathOnceForManyThreads) {
    const auto path = world.path("usr/bin/asked-by-many");
    const auto before = LinuxCodeSignatures::checks();
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { EXPECT_FALSE(signatures.systemIdentifier(path)); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(LinuxCodeSignatures::checks(), before + 1);
}

TEST(LinuxCodeSignatures, KnowTheSystemsOwnProgramsOfThisMachine) {
    LinuxCodeSignatures signatures(LinuxPlaces::ofThisUser());
    int present = 0;
    for (const auto& program : linuxSystemPrograms()) {
        for (const auto path : program.paths) {
            const std::string file(path);
            std::error_code error;
            if (file.find('*') == std::string::npos &&
                std::filesystem::canonical(file, error) == file) {
                ++present;
                EXPECT_EQ(signatures.systemIdentifier(file), program.signingID) << file;
            } else if (file.find('*') == std::string::npos) {
                EXPECT_FALSE(signatures.systemIdentifier(file)) << file;
            }
        }
    }
    if (present == 0) {
        GTEST_SKIP() << "PipeWire isn't installed";
    }
}

TEST(LinuxCodeSignatures, RefusePathsThatAreNotReal) {
    LinuxCodeSignatures signatures(LinuxPlaces::ofThisUser());
    const TemporaryDirectory folder;
    // The table's own paths by a roundabout way, through a link, and a file of somebody else's.
    EXPECT_FALSE(signatures.systemIdentifier("/usr/bin/../bin/pipewire"));
    EXPECT_FALSE(signatures.systemIdentifier("/usr//bin/pipewire"));
    EXPECT_FALSE(signatures.systemIdentifier(folder.link("pipewire", "/usr/bin/pipewire")));
    EXPECT_FALSE(signatures.systemIdentifier("/opt/app/app"));
    EXPECT_FALSE(signatures.systemIdentifier(""));
}

} // namespace
} // namespace velmoran
