// Programs in real images, each of which serves itself from its own file as an AppImage does.
#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/linux/apps/LinuxAppNames.h"
#include "system/linux/apps/MountedImage.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace velmoran {
namespace {

constexpr const char* server = "/usr/bin/squashfuse";
constexpr const char* packer = "/usr/bin/mksquashfs";
constexpr const char* unmounter = "/usr/bin/fusermount3";

[[nodiscard]] bool runs(const std::string& program, std::vector<std::string> arguments) {
    const RunningProgram running(program, std::move(arguments));
    return support::waitUntil([&] { return !running.isRunning(); });
}

/// An image that is mounted, for as long as this lives.
class Mounted {
public:
    Mounted(const std::string& image, std::uintmax_t offset, const std::string& folder)
        : folder_(folder),
          server_(image,
                  {image, "-f", "-o", "ro,offset=" + std::to_string(offset), image, folder}) {}
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;
    ~Mounted() {
        server_.end();
        EXPECT_TRUE(runs(unmounter, {"fusermount3", "-u", "-z", folder_}));
    }

    std::string program() const { return folder_ + "/usr/bin/napper"; }
    [[nodiscard]] bool isThere() const {
        return support::waitUntil(
                   [&] { return !server_.isRunning() || std::filesystem::exists(program()); }) &&
               server_.isRunning();
    }
    pid_t served() const { return server_.pid(); }

private:
    std::string folder_;
    RunningProgram server_;
};

class RealImages : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* tool : {server, packer, unmounter}) {
            if (!std::filesystem::exists(tool)) {
                GTEST_SKIP() << std::filesystem::path(tool).filename().string()
                             << " isn't installed";
            }
        }
        if (::access("/dev/fuse", R_OK | W_OK) != 0) {
            GTEST_SKIP() << "may not serve files here";
        }
        home.write("tree/usr/bin/napper", "", true);
        std::filesystem::copy_file("/bin/sleep", home.path("tree/usr/bin/napper"),
                                   std::filesystem::copy_options::overwrite_existing);
        ASSERT_TRUE(runs(packer, {"mksquashfs", home.path("tree"), home.path("files"), "-quiet",
                                  "-noappend", "-no-progress"}));
        places.home = home.path();
    }
    /// The program that serves, with the files behind it.
    std::string image(const std::string& below) const {
        const auto file = home.write(below, "", true);
        std::ofstream all(file, std::ios::binary | std::ios::trunc);
        all << std::ifstream(server, std::ios::binary).rdbuf()
            << std::ifstream(home.path("files"), std::ios::binary).rdbuf();
        return file;
    }
    std::string folder(const std::string& below) const {
        std::filesystem::create_directories(home.path(below));
        return home.path(below);
    }
    AppRef identify(const RunningProgram& program) {
        return LinuxAppNames(places).identify(program.pid());
    }

    const std::uintmax_t offset =
        std::filesystem::exists(server) ? std::filesystem::file_size(server) : 0;
    TemporaryDirectory home;
    LinuxPlaces places = LinuxPlaces::ofThisUser();
};

TEST_F(RealImages, AreOneAppWhereverTheyAreMounted) {
    const auto file = image("Apps/Nap.AppImage");
    const AppRef app{.name = "Nap.AppImage (~/Apps)", .bundleID = {}, .path = file};
    const Mounted first(file, offset, folder("mount-1"));
    const Mounted second(file, offset, folder("mount-2"));
    if (!first.isThere() || !second.isThere()) {
        GTEST_SKIP() << "may not mount anything here";
    }
    const RunningProgram one(first.program(), {"napper", "60"});
    const RunningProgram other(second.program(), {"something else", "60"});
    EXPECT_EQ(identify(one), app);
    EXPECT_EQ(identify(other), app);
    EXPECT_TRUE(servesFiles(ProcFs(), first.served()));
    EXPECT_FALSE(servesFiles(ProcFs(), one.pid()));
}

TEST_F(RealImages, OfTheSameNameAreNotTakenForEachOther) {
    const auto known = image("Apps/Nap.AppImage");
    const auto other = image("thief/Nap.AppImage");
    const Mounted genuine(known, offset, folder("mount-1"));
    const Mounted thief(other, offset, folder("mount-2"));
    if (!genuine.isThere() || !thief.isThere()) {
        GTEST_SKIP() << "may not mount anything here";
    }
    const RunningProgram program(thief.program(), {"napper", "60"});
    const auto path = identify(program).path;
    EXPECT_TRUE(path == other || path == thief.program()) << *path;
}

TEST_F(RealImages, OneThatServesAnotherFileIsNotThatFile) {
    const auto known = image("Apps/Nap.AppImage");
    const auto other = image("thief/Other.AppImage");
    const auto mount = folder("mount");
    // As the runtime of an image serves another one that its environment names.
    const RunningProgram serving(
        known, {known, "-f", "-o", "ro,offset=" + std::to_string(offset), other, mount});
    const auto program = mount + "/usr/bin/napper";
    const bool isThere = support::waitUntil(
        [&] { return !serving.isRunning() || std::filesystem::exists(program); });
    if (!isThere || !serving.isRunning()) {
        GTEST_SKIP() << "may not mount anything here";
    }
    {
        const RunningProgram running(program, {"napper", "60"});
        EXPECT_EQ(identify(running).path, program);
    }
    EXPECT_TRUE(runs(unmounter, {"fusermount3", "-u", "-z", mount}));
}

} // namespace
} // namespace velmoran
