// A line as the kernel writes it into /proc/PID/mountinfo.
#pragma once

#include <string>

#include <sys/sysmacros.h>
#include <sys/types.h>

namespace velmoran::support {

/// Of the file system with that number, whose folder `root` is seen at `folder`. None of these has
/// a blank in it.
inline std::string mountLine(dev_t device, const std::string& root, const std::string& folder,
                             const std::string& type = "ext4",
                             const std::string& source = "/dev/sda1",
                             const std::string& options = "rw") {
    return "22 1 " + std::to_string(major(device)) + ':' + std::to_string(minor(device)) + ' ' +
           root + ' ' + folder + " rw,nosuid shared:1 - " + type + ' ' + source + ' ' + options +
           '\n';
}

} // namespace velmoran::support
