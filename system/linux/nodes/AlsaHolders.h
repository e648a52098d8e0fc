// The programs that use a sound card directly, past the sound server: who has one of its nodes open
// and lets sound through. The kernel names the opener of each; it doesn't tell when sound begins,
// so that is looked up again and again, but only while somebody has a node open, or while the
// kernel has no watch left to tell of it. Owned by the machine; made, used and destroyed on the
// loop's thread.
#pragma once

#include "system/Machine.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/NodeWatch.h"
#include "system/linux/nodes/AlsaStatus.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velmoran {

class AlsaHolders {
public:
    /// Object ids are this number plus 1, 2, 3 …: out of the range that sound servers use.
    static constexpr std::uint32_t firstObjectID = 0x41000000;

    struct Places {
        std::string deviceFolder = "/dev/snd";
        std::string procRoot = "/proc";
    };

    /// `servesOthers` is true for the sound server, which isn't listed.
    AlsaHolders(EventLoop& loop, ProcessNaming& naming, std::function<bool(pid_t)> servesOthers,
                Places places);
    ~AlsaHolders();

    /// One for each process that has a node open, in order of opening; pid 0 if it is out of sight.
    /// From memory.
    std::vector<AudioProcess> processes() const { return processes_; }
    /// Called after each change of the list; a second call replaces the first callback.
    void onChange(std::function<void()> callback) { onChange_ = std::move(callback); }

private:
    struct Owner {
        std::int32_t pid = 0; ///< of the process
        bool serves = false;
    };

    void readFolder();
    void readStatuses();
    Owner ownerOf(const std::string& node, const AlsaStatus& status);
    void update(std::vector<AudioProcess> found);

    EventLoop& loop_;
    ProcessNaming& naming_;
    std::function<bool(pid_t)> servesOthers_;
    Places places_;
    std::function<void()> onChange_;
    std::vector<std::string> nodes_;
    std::map<std::string, std::pair<std::int32_t, Owner>>
        owners_; ///< by substream, with the thread
    std::vector<AudioProcess> processes_;
    std::uint32_t lastObjectID_ = firstObjectID;
    std::size_t step_ = 0;
    Subscription nextCheck_;
    NodeWatch watch_;
};

} // namespace velmoran
