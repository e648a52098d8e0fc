// Names processes as a test says, and remembers under which numbers they were kept.
#pragma once

#include "system/linux/apps/ProcessNaming.h"

#include <map>
#include <string>

namespace velmoran::testing {

struct FakeNaming final : ProcessNaming {
    std::map<pid_t, std::string> paths; ///< others are "/bin/PID"
    std::map<std::uint32_t, AppRef> pinned;

    AppRef identify(pid_t pid) override {
        const auto found = paths.find(pid);
        const auto path = found == paths.end() ? "/bin/" + std::to_string(pid) : found->second;
        return {.name = path, .bundleID = {}, .path = path};
    }
    AppRef unidentified(const std::string& key) override {
        return AppRef::unidentifiedAs("unidentified:" + key);
    }
    void pin(std::uint32_t objectID, AppRef app) override { pinned[objectID] = std::move(app); }
    void unpin(std::uint32_t objectID) override { pinned.erase(objectID); }
};

} // namespace velmoran::testing
