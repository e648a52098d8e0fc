// A /proc laid out by a test: what the kernel would tell of processes that don't exist.
#pragma once

#include "support/TemporaryDirectory.h"
#include "system/linux/kernel/ProcFs.h"
#include "system/linux/kernel/ProcMaps.h"

#include <filesystem>
#include <string>
#include <vector>

namespace velmoran {

class FakeProc {
public:
    struct Open {
        std::string link;
        std::string info; ///< as "fdinfo" has it
    };
    struct Process {
        std::string executable; ///< empty: may not be read
        std::vector<std::string> arguments = {};
        pid_t parent = 1;
        std::string cgroup = "0::/user.slice/session-1.scope\n";
        std::string mounts = "mnt:[1]";
        std::string root = "/";
        std::string workingDirectory = "/";
        std::vector<std::string> environment = {};
        std::vector<std::string> maps = {}; ///< lines
        std::string mountTable = {};        ///< as "mountinfo" has it
        std::vector<Open> descriptors = {};
    };

    /// A line of a process that runs this file, if it lies where this program sees it.
    static std::string mapped(const std::string& path, const std::string& permissions = "r-xp") {
        const auto known = asMapped({path})[path];
        return "7f2c6c000000-7f2c6c1c2000 " + permissions + " 00000000 " + known.device + ' ' +
               std::to_string(known.inode) + "    " + path;
    }

    FakeProc() { folder_.link("self/ns/mnt", "mnt:[1]"); }

    ProcFs fs() const { return ProcFs(folder_.path()); }
    const TemporaryDirectory& folder() const { return folder_; }

    /// What is mounted where this program lives, as "mountinfo" has it.
    void mount(const std::string& table) { folder_.write("self/mountinfo", table); }

    /// Also in place of one that was there.
    void add(pid_t pid, const Process& process, std::uint64_t startTicks = 100) {
        const std::string at = std::to_string(pid) + '/';
        std::filesystem::remove_all(folder_.path(std::to_string(pid)));
        if (!process.executable.empty()) {
            folder_.link(at + "exe", process.executable);
            folder_.link(at + "ns/mnt", process.mounts);
            folder_.link(at + "root", process.root);
            folder_.link(at + "cwd", process.workingDirectory);
            folder_.write(at + "environ", zeroEnded(process.environment));
            std::string maps;
            for (const auto& line : process.maps) {
                maps += line + '\n';
            }
            folder_.write(at + "maps", maps);
            folder_.write(at + "mountinfo", process.mountTable);
            int number = 0;
            for (const auto& [link, info] : process.descriptors) {
                folder_.link(at + "fd/" + std::to_string(number), link);
                folder_.write(at + "fdinfo/" + std::to_string(number++), info);
            }
        }
        folder_.write(at + "stat", statLine(pid, process.parent, startTicks));
        folder_.write(at + "cmdline", zeroEnded(process.arguments));
        folder_.write(at + "cgroup", process.cgroup);
        folder_.write(at + "comm", "fake\n");
        folder_.write(at + "status", "Name:\tfake\nUid:\t1000\t1000\t1000\t1000\n");
    }
    /// The same process with another program, as an exec leaves it.
    void exec(pid_t pid, const std::string& executable) {
        folder_.link(std::to_string(pid) + "/exe", executable);
    }
    void remove(pid_t pid) { std::filesystem::remove_all(folder_.path(std::to_string(pid))); }

    static std::string statLine(pid_t pid, pid_t parent, std::uint64_t startTicks) {
        return std::to_string(pid) + " (fake) S " + std::to_string(parent) +
               " 1 1 0 -1 4194560 1 0 0 0 0 0 0 0 20 0 1 0 " + std::to_string(startTicks) +
               " 1000 10 18446744073709551615\n";
    }

private:
    static std::string zeroEnded(const std::vector<std::string>& texts) {
        std::string all;
        for (const auto& text : texts) {
            all += text;
            all += '\0';
        }
        return all;
    }

    TemporaryDirectory folder_;
};

} // namespace velmoran
