// A Linux machine laid out in a temporary folder: what root installed under /usr, what a user has
// under /home/u, flatpaks, snaps and processes. The test's own user plays root; /home/u can be
// written by all, as root never leaves anything.
#pragma once

#include "support/FakeProc.h"
#include "system/linux/apps/LinuxPlaces.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace velmoran {

class LinuxWorld {
public:
    LinuxWorld() : mask_(umask(022)) {
        for (const char* folder :
             {"usr/bin", "usr/lib", "usr/share/applications", "home/u/.local/share/applications",
              "var/lib/flatpak/app", "var/lib/flatpak/exports/share/applications",
              "var/lib/snapd/desktop/applications", "snap/bin"}) {
            std::filesystem::create_directories(folder_.path(folder));
        }
        std::filesystem::permissions(folder_.path("home/u"), std::filesystem::perms(0777));
    }
    ~LinuxWorld() { umask(mask_); }
    LinuxWorld(const LinuxWorld&) = delete;
    LinuxWorld& operator=(const LinuxWorld&) = delete;

    LinuxPlaces places() const {
        LinuxPlaces places;
        places.procRoot = proc.folder().path();
        places.home = path("home/u");
        places.applicationFolders = {path("home/u/.local/share/applications"),
                                     path("usr/share/applications"),
                                     path("var/lib/flatpak/exports/share/applications"),
                                     path("home/u/.local/share/flatpak/exports/share/applications"),
                                     path("var/lib/snapd/desktop/applications")};
        places.systemPath = {path("usr/bin"), path("snap/bin")};
        places.userPath = {path("home/u/bin")};
        places.flatpaks = {{.name = "system", .path = path("var/lib/flatpak")},
                           {.name = "user", .path = path("home/u/.local/share/flatpak")}};
        places.snapRoots = {path("snap")};
        places.appMount = path("app");
        places.runtimeMount = path("runtime");
        places.protection = WriteProtection(folder_.path(), getuid());
        return places;
    }

    std::string path(std::string_view below) const { return folder_.path(below); }
    std::string program(std::string_view below, std::string_view text = "\177ELF") const {
        return folder_.write(below, text, true);
    }
    std::string link(std::string_view below, const std::string& target) const {
        return folder_.link(below, target);
    }
    /// One of root's, "NAME" without ".desktop".
    void entry(const std::string& id, const std::string& keys) const {
        entryIn("usr/share/applications", id, keys);
    }
    void userEntry(const std::string& id, const std::string& keys) const {
        entryIn("home/u/.local/share/applications", id, keys);
    }
    /// The folder's time of change moves by a second each time, however fine the clock of the file
    /// system is.
    void entryIn(const std::string& folder, const std::string& id, const std::string& keys) const {
        folder_.write(folder + '/' + id + ".desktop",
                      "[Desktop Entry]\nType=Application\n" + keys + '\n');
        touch(folder);
    }
    void touch(const std::string& folder) const {
        using std::filesystem::last_write_time;
        changes_ += std::chrono::seconds(1);
        last_write_time(path(folder), last_write_time(path(folder)) + changes_);
    }

    FakeProc proc;

private:
    mode_t mask_;
    TemporaryDirectory folder_;
    mutable std::chrono::seconds changes_{0};
};

} // namespace velmoran
