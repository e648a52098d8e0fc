// The user's history file, and who may keep it: one Velmoran at a time, for as long as it runs.
#pragma once

#include "core/history/HistoryStore.h"
#include "system/PeerProgram.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>

namespace velmoran {

/// Velmoran/History.store in the user's folder for data: ~/.local/share on Linux, Application
/// Support on a Mac.
std::filesystem::path userHistoryPath();

/// Another Velmoran keeps the history right now.
class HistoryIsKept : public std::runtime_error {
public:
    HistoryIsKept() : std::runtime_error("another Velmoran keeps the history") {}
};

/// Whom a Velmoran that keeps the history gives way to. A stranger who holds the lock keeps none,
/// and nobody gives way to him.
enum class WhenKept {
    giveWay, ///< throws HistoryIsKept: a watch in a terminal leaves the desktop's Velmoran alone
    share,   ///< opens the file all the same: the desktop's Velmoran can't do without
};

/// Opens the history. It counts as kept, for others, until the store goes or the process ends in
/// whatever way; if the files are deleted meanwhile, it is kept again from the next write on,
/// unless another Velmoran was faster, whom a watch gives way to. Throws what HistoryStore throws,
/// and HistoryIsKept.
std::shared_ptr<HistoryStore>
openUserHistory(WhenKept whenKept, const std::filesystem::path& path = userHistoryPath(),
                std::function<bool(const PeerProgram&)> isVelmoran = velmoran::isVelmoran);

} // namespace velmoran
