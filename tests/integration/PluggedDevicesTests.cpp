// What is plugged in, with devices that umockdev plays: their announcements, and what the table of
// mounts and udev say of volumes.
#include "integration/UnderUmockdev.h"
#include "support/PrivateSession.h"
#include "support/Waiting.h"
#include "system/linux/away/ExternalVolumes.h"
#include "system/linux/away/PluggedDevices.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <libudev.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/sysmacros.h>

namespace velmoran {
namespace {

using support::underUmockdev;
using support::waitUntil;

constexpr const char* controller = "/devices/pci0000:00/0000:00:14.0/usb1";

/// Lines as umockdev reads them; the place in /sys.
std::string addUdevLines(UMockdevTestbed* testbed, const std::string& path,
                         const std::string& lines) {
    const auto text = "P: " + path + '\n' + lines + '\n';
    GError* error = nullptr;
    EXPECT_TRUE(umockdev_testbed_add_from_string(testbed, text.c_str(), &error))
        << (error ? error->message : "") << text;
    return "/sys" + path;
}

/// A table that the test writes.
class WrittenTable final : public MountTable {
public:
    std::string text() override {
        const std::lock_guard lock(mutex_);
        return seen_ = text_;
    }
    /// Whether it was read as it is now.
    bool isSeen() {
        const std::lock_guard lock(mutex_);
        return seen_ == text_;
    }
    Subscription onChange(EventLoop&, std::function<void()> changed) override {
        changed_ = std::move(changed);
        return Subscription([this] { changed_ = nullptr; });
    }
    void mount(EventLoop& loop, const std::string& device, const std::string& folder,
               const std::string& source = "/dev/sdz1") {
        {
            const std::lock_guard lock(mutex_);
            text_ += "90 1 " + device + " / " + folder + " rw - vfat " + source + " rw\n";
        }
        tell(loop);
    }
    void unmountAll(EventLoop& loop) {
        {
            const std::lock_guard lock(mutex_);
            text_.clear();
        }
        tell(loop);
    }

private:
    void tell(EventLoop& loop) {
        loop.runAndWait([this] {
            if (changed_) {
                changed_();
            }
        });
    }

    std::mutex mutex_;
    std::string seen_;
    std::string text_ = "22 1 8:2 / / rw - ext4 /dev/sda2 rw\n";
    std::function<void()> changed_;
};

class PluggedDevicesTest : public ::testing::Test {
protected:
    Subscription listen() {
        return devices_.listen([this](const AwaySignal& signal) {
            EXPECT_EQ(signal.kind, AwaySignal::Kind::devicePluggedIn);
            const std::lock_guard lock(mutex_);
            names_.push_back(signal.name.value_or("(none)"));
        });
    }
    std::vector<std::string> names() {
        const std::lock_guard lock(mutex_);
        return names_;
    }
    /// All that is told when this many things have been; in no more time than the loop needs.
    std::vector<std::string> told(std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return names().size() >= count; }));
        loop_.runAndWait([] {});
        return names();
    }

    static std::string addUsb(UMockdevTestbed* testbed, const std::string& name,
                              const std::string& more = "A: manufacturer=SanDisk\n"
                                                        "A: product=Ultra\n",
                              const std::string& number = "004") {
        return addUdevLines(testbed, std::string(controller) + '/' + name,
                            "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: BUSNUM=001\nE: DEVNUM=" +
                                number + '\n' + more);
    }
    /// A disk with one partition, hanging at that place of the tree.
    static void addDisk(UMockdevTestbed* testbed, const std::string& below, const std::string& name,
                        int major, const std::string& ofDisk, const std::string& ofPartition) {
        const auto path = below + "/block/" + name;
        const auto number = std::to_string(major);
        addUdevLines(testbed, path,
                     "N: " + name + "\nE: SUBSYSTEM=block\nE: DEVTYPE=disk\nE: DEVNAME=/dev/" +
                         name + "\nE: MAJOR=" + number + "\nE: MINOR=16\nA: dev=" + number +
                         ":16\n" + ofDisk);
        addUdevLines(testbed, path + '/' + name + '1',
                     "N: " + name +
                         "1\nE: SUBSYSTEM=block\nE: DEVTYPE=partition\nE: DEVNAME=/dev/" + name +
                         "1\nE: MAJOR=" + number + "\nE: MINOR=17\nA: dev=" + number + ":17\n" +
                         ofPartition);
    }
    static void plug(UMockdevTestbed* testbed, const std::string& place) {
        umockdev_testbed_uevent(testbed, place.c_str(), "add");
    }
    static VolumeDescription describe(int major) {
        const std::shared_ptr<struct udev> context(udev_new(), udev_unref);
        return describeVolume(context.get(), makedev(static_cast<unsigned>(major), 17));
    }

    EventLoop loop_;
    std::shared_ptr<WrittenTable> table_ = std::make_shared<WrittenTable>();
    PluggedDevices devices_{loop_, table_};

private:
    std::mutex mutex_;
    std::vector<std::string> names_;
};

using UsbDevicesOfUdev = PluggedDevicesTest;
using VolumesOfUdev = PluggedDevicesTest;

TEST_F(UsbDevicesOfUdev, AreToldByTheNamesThatPeopleKnow) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto handle = listen();
        plug(testbed, addUsb(testbed, "1-4"));
        EXPECT_EQ(told(1), std::vector<std::string>{"SanDisk Ultra"});
        plug(testbed, addUsb(testbed, "1-5",
                             "E: ID_VENDOR_FROM_DATABASE=Logitech, Inc.\n"
                             "E: ID_MODEL_FROM_DATABASE=Unifying Receiver\n"));
        EXPECT_EQ(told(2).back(), "Logitech Unifying Receiver");
        plug(testbed, addUsb(testbed, "1-6", ""));
        EXPECT_EQ(told(3).back(), "(none)");
    });
}

TEST_F(UsbDevicesOfUdev, AreNotToldWhereTheyWereThereAlready) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto old = addUsb(testbed, "1-4", "A: product=Old\n");
        const auto handle = listen();
        plug(testbed, old); // as somebody has udev announce all of them anew
        const auto stick = addUsb(testbed, "1-5");
        plug(testbed, stick);
        plug(testbed, stick);
        plug(testbed, addUsb(testbed, "1-6", "A: product=Last\n"));
        EXPECT_EQ(told(2), (std::vector<std::string>{"SanDisk Ultra", "Last"}));
    });
}

TEST_F(UsbDevicesOfUdev, AreToldAgainWhenTheyComeAgain) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto handle = listen();
        const auto stick = addUsb(testbed, "1-4");
        plug(testbed, stick);
        EXPECT_EQ(told(1).size(), 1U);
        umockdev_testbed_uevent(testbed, stick.c_str(), "remove");
        plug(testbed, stick);
        EXPECT_EQ(told(2), (std::vector<std::string>{"SanDisk Ultra", "SanDisk Ultra"}));
    });
}

TEST_F(UsbDevicesOfUdev, AreNeitherTheirPartsNorTheMachinesControllers) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto handle = listen();
        const auto hub = addUdevLines(testbed, "/devices/pci0000:00/0000:03:00.0/usb3",
                                      "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNUM=001\n"
                                      "A: manufacturer=Linux 6.1 xhci-hcd\nA: product=xHCI Host "
                                      "Controller\n");
        plug(testbed, hub);
        const auto stick = addUsb(testbed, "1-4");
        const auto part = addUdevLines(testbed, std::string(controller) + "/1-4/1-4:1.0",
                                       "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\n");
        plug(testbed, part);
        plug(testbed, stick);
        umockdev_testbed_uevent(testbed, stick.c_str(), "bind");
        umockdev_testbed_uevent(testbed, stick.c_str(), "change");
        plug(testbed, addUsb(testbed, "1-6", "A: product=Last\n"));
        EXPECT_EQ(told(2), (std::vector<std::string>{"SanDisk Ultra", "Last"}));
    });
}

TEST_F(UsbDevicesOfUdev, AreNotToldWhenNobodyListens) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        auto handle = listen();
        plug(testbed, addUsb(testbed, "1-4"));
        EXPECT_EQ(told(1).size(), 1U);
        handle.reset();
        plug(testbed, addUsb(testbed, "1-5", "A: product=Unheard\n"));
        handle = listen();
        plug(testbed, addUsb(testbed, "1-6", "A: product=Last\n"));
        EXPECT_EQ(told(2), (std::vector<std::string>{"SanDisk Ultra", "Last"}));
    });
}

TEST_F(VolumesOfUdev, OfAStickAreToldBesideIt) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const auto handle = listen();
        const auto stick = addUsb(testbed, "1-4");
        plug(testbed, stick);
        addDisk(testbed, std::string(controller) + "/1-4", "sdz", 65, "A: removable=1\n",
                "E: ID_FS_LABEL_ENC=HOLIDAY\\x20PICTURES\nE: ID_FS_UUID=1234-ABCD\n");
        EXPECT_EQ(told(1).size(), 1U);
        table_->mount(loop_, "65:17", "/media/anna/HOLIDAY\\040PICTURES");
        EXPECT_EQ(told(2), (std::vector<std::string>{"SanDisk Ultra", "HOLIDAY PICTURES"}));
    });
}

TEST_F(VolumesOfUdev, AreToldOnceForEachTimeTheyCome) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        for (const auto* name : {"1-4", "1-5", "1-6"}) {
            addUsb(testbed, name, std::string("A: product=Stick ") + name + '\n');
        }
        addDisk(testbed, std::string(controller) + "/1-4", "sdx", 65, "", "");
        addDisk(testbed, std::string(controller) + "/1-5", "sdy", 66, "", "");
        addDisk(testbed, std::string(controller) + "/1-6", "sdz", 67, "", "");
        table_->mount(loop_, "65:17", "/mnt"); // before anybody listens
        const auto handle = listen();
        table_->mount(loop_, "65:17", "/home/anna/again");
        table_->mount(loop_, "66:17", "/mnt");
        EXPECT_EQ(told(1), std::vector<std::string>{"Stick 1-5"});
        table_->mount(loop_, "66:17", "/home/anna/bound");
        table_->mount(loop_, "67:17", "/mnt");
        EXPECT_EQ(told(2), (std::vector<std::string>{"Stick 1-5", "Stick 1-6"}));
        table_->unmountAll(loop_);
        ASSERT_TRUE(waitUntil([this] { return table_->isSeen(); }));
        table_->mount(loop_, "66:17", "/mnt");
        EXPECT_EQ(told(3).back(), "Stick 1-5");
    });
}

TEST_F(VolumesOfUdev, AreExternalWhereUdevSaysSo) {
    underUmockdev([](UMockdevTestbed* testbed) {
        const std::string pci = "/devices/pci0000:00/0000:00:17.0";
        addUdevLines(testbed, pci, "E: SUBSYSTEM=pci\n");
        addDisk(testbed, pci + "/ata1", "sda", 65, "A: removable=0\n", "");
        EXPECT_FALSE(describe(65).volume.isExternal());

        addUdevLines(testbed, "/devices/pci0000:00/0000:05:00.0",
                     "E: SUBSYSTEM=pci\nA: removable=removable\n");
        addDisk(testbed, "/devices/pci0000:00/0000:05:00.0/nvme", "nvme1n1p", 66, "", "");
        EXPECT_EQ(describe(66).volume.isInternal, false);

        addUsb(testbed, "1-4", "A: removable=fixed\n"); // a card reader in the machine
        addDisk(testbed, std::string(controller) + "/1-4", "sdb", 67, "A: removable=0\n", "");
        EXPECT_EQ(describe(67).volume.isInternal, true);
        EXPECT_FALSE(describe(67).volume.isExternal());
        addUsb(testbed, "1-5", "A: removable=fixed\n");
        addDisk(testbed, std::string(controller) + "/1-5", "sdc", 68, "A: removable=1\n", "");
        EXPECT_TRUE(describe(68).volume.isExternal());

        addUsb(testbed, "1-6", "A: manufacturer=WD\nA: product=My Passport\n");
        addDisk(testbed, std::string(controller) + "/1-6", "sdd", 69, "A: removable=0\n", "");
        EXPECT_EQ(describe(69).volume.isInternal, false);
        EXPECT_EQ(describe(69).drive, "WD My Passport");

        addUdevLines(testbed, "/devices/mmc0:0001", "E: SUBSYSTEM=mmc\nA: type=SD\n");
        addDisk(testbed, "/devices/mmc0:0001", "mmcblk0p", 70, "A: removable=0\n", "");
        EXPECT_TRUE(describe(70).volume.isExternal());
        addUdevLines(testbed, "/devices/mmc1:0001", "E: SUBSYSTEM=mmc\nA: type=MMC\n");
        addDisk(testbed, "/devices/mmc1:0001", "mmcblk1p", 71, "A: removable=0\n", "");
        EXPECT_FALSE(describe(71).volume.isExternal());

        addDisk(testbed, pci + "/ata2", "sr", 72, "A: events=media_change eject_request\n", "");
        EXPECT_FALSE(describe(72).volume.isInternal.has_value());
        EXPECT_TRUE(describe(72).volume.isExternal());

        addDisk(testbed, "/devices/virtual", "loop", 73, "A: removable=0\n", "");
        EXPECT_FALSE(describe(73).volume.isExternal());

        EXPECT_FALSE(describe(99).volume.isExternal()); // nobody knows it
    });
}

TEST_F(VolumesOfUdev, ThatAreEncryptedStandOnTheDeviceBelow) {
    underUmockdev([](UMockdevTestbed* testbed) {
        addUsb(testbed, "1-4");
        addDisk(testbed, std::string(controller) + "/1-4", "sdz", 65, "", "");
        addDisk(testbed, "/devices/virtual", "dm-", 75, "", "E: ID_FS_LABEL_ENC=SECRETS\n");
        gchar* root = umockdev_testbed_get_sys_dir(testbed);
        const std::filesystem::path below =
            std::string(root) + "/devices/virtual/block/dm-/dm-1/slaves";
        g_free(root);
        std::filesystem::create_directories(below);
        std::filesystem::create_directory(below / "sdz1");
        const auto volume = describe(75);
        EXPECT_EQ(volume.volume.isInternal, false);
        EXPECT_EQ(volume.label, "SECRETS");
        EXPECT_EQ(volume.drive, "SanDisk Ultra");
    });
}

TEST_F(VolumesOfUdev, ThatNobodyIsToSeeAreNotTold) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        const std::string pci = "/devices/pci0000:00/0000:00:17.0";
        addDisk(testbed, pci + "/ata1", "sda", 65, "A: removable=0\n", "E: ID_FS_LABEL_ENC=DATA\n");
        addUsb(testbed, "1-4");
        addDisk(testbed, std::string(controller) + "/1-4", "sdy", 66, "",
                "E: UDISKS_IGNORE=1\nE: ID_FS_LABEL_ENC=EFI\n");
        addDisk(testbed, "/devices/virtual", "loop", 67, "", "E: ID_FS_LABEL_ENC=SNAP\n");
        addDisk(testbed, std::string(controller) + "/1-4", "sdz", 68, "",
                "E: ID_FS_LABEL_ENC=STICK\n");
        const auto handle = listen();
        loop_.runAndWait([] {});
        table_->mount(loop_, "65:17", "/data");
        table_->mount(loop_, "66:17", "/media/anna/EFI");
        table_->mount(loop_, "67:17", "/media/anna/SNAP");
        table_->mount(loop_, "0:60", "/media/anna/share", "//server/share");
        table_->mount(loop_, "68:17", "/media/anna/STICK");
        EXPECT_EQ(told(1), std::vector<std::string>{"STICK"});
    });
}

TEST(MountedStickAsRoot, IsToldWhenItIsReallyMounted) {
    support::PrivateSession session;
    session.need({"mke2fs", "losetup", "mount"});
    const auto image = session.file("image").string();
    const auto made = session.run({"mke2fs", "-q", image, "2048"});
    ASSERT_TRUE(made.succeeded()) << made.errors;
    underUmockdev([&](UMockdevTestbed* testbed) {
        // Mounts of the test's own, which end with it, and with them the device.
        ASSERT_EQ(::unshare(CLONE_NEWNS), 0);
        ASSERT_EQ(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        const auto loop = session.run({"losetup", "--find", "--show", image});
        ASSERT_TRUE(loop.succeeded()) << loop.errors;
        const auto node = loop.output.substr(0, loop.output.find('\n'));
        const auto name = node.substr(std::string("/dev/").size());
        addUdevLines(testbed, std::string(controller) + "/1-4",
                     "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nA: product=Stick\n");
        addUdevLines(testbed, std::string(controller) + "/1-4/block/" + name,
                     "N: " + name + "\nE: SUBSYSTEM=block\nE: DEVTYPE=disk\nE: DEVNAME=" + node +
                         "\nE: ID_FS_LABEL_ENC=MY\\x20STICK\nE: MAJOR=7\nE: MINOR=" +
                         name.substr(4) + "\nA: dev=7:" + name.substr(4) + '\n');
        EventLoop readings;
        PluggedDevices devices(readings);
        std::mutex mutex;
        std::vector<std::string> told;
        const auto handle = devices.listen([&](const AwaySignal& signal) {
            const std::lock_guard lock(mutex);
            told.push_back(signal.name.value_or("(none)"));
        });
        const auto folder = session.file("stick").string();
        std::filesystem::create_directory(folder);
        const auto mounted = session.run({"mount", node, folder});
        session.run({"losetup", "--detach", node}); // once nothing is mounted there any more
        ASSERT_TRUE(mounted.succeeded()) << mounted.errors;
        EXPECT_TRUE(waitUntil([&] {
            const std::lock_guard lock(mutex);
            return told == std::vector<std::string>{"MY STICK"};
        }));
        EXPECT_EQ(::umount(folder.c_str()), 0);
    });
}

} // namespace
} // namespace velmoran
