// Whether the server still shows its connection all that there is. Any client may take another's
// right to see an object away; the server then says that the object was removed, as of one that has
// gone. So a removal counts only when the server, asked after it, has said that nothing is hidden
// from this connection. Pure; owned by the connection; the loop's thread.
#pragma once

#include "system/linux/pipewire/GraphModel.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace velmoran {

class SightCheck {
public:
    /// This connection's own client, which is there for as long as the connection.
    void setOwnClient(std::uint32_t id) { ownClient_ = id; }

    /// An object was told of. True if the one that had this id before is gone for certain: an id
    /// is given out again only then.
    bool appeared(std::uint32_t id, GraphSerial serial);
    /// An object was told to be removed.
    void removed(std::uint32_t id);
    /// Something was told that may come of what isn't shown.
    void doubt() { isInDoubt_ = true; }

    /// True if the server is to be asked now; the answer to the question before has come then.
    bool beginQuestion();
    /// The server has answered: whether everything may be seen. Gives the ids of the objects that
    /// are gone for certain.
    std::vector<std::uint32_t> answered(bool mayAllBeSeen);
    /// The server doesn't let itself be asked.
    void refused() { isTaken_ = true; }

    bool areRemovalsInDoubt() const { return !removals_.empty(); }
    /// Something is hidden from this connection, for certain and for good.
    bool isTaken() const { return isTaken_; }

private:
    struct Removal {
        GraphSerial serial = 0;
        bool isAskedAbout = false;
    };

    std::optional<std::uint32_t> ownClient_;
    std::map<std::uint32_t, GraphSerial> shown_;
    std::map<std::uint32_t, Removal> removals_; ///< that don't count yet
    bool isInDoubt_ = false;
    bool isAsking_ = false;
    bool isTaken_ = false;
};

} // namespace velmoran
