// What a screen saver says on the session bus, over one connection to it: whether it covers the
// screen. Owned by the screen lock as long as that connection is there; the loop's thread only.
#pragma once

#include "system/linux/bus/BusLine.h"

#include <functional>
#include <string>
#include <vector>

namespace velmoran {

class SaverLock {
public:
    struct Calls {
        std::function<void(bool active)> said;  ///< just now
        std::function<void(bool active)> found; ///< it was asked
        std::function<void()> left;             ///< nobody has that name, or doesn't answer
    };

    struct Place {
        std::string name; ///< on the bus
        std::string interface;
        std::vector<std::string> paths; ///< asked in that order
    };

    /// The line outlives this.
    SaverLock(BusLine& line, Place place, Calls calls);
    SaverLock(const SaverLock&) = delete;
    SaverLock& operator=(const SaverLock&) = delete;

private:
    void ownerCame(const std::string& owner);
    void askAt(std::size_t path);

    BusLine& line_;
    Place place_;
    Calls calls_;
    std::string saver_; ///< its own name on the bus
    BusEar ownerEar_;
    BusEar changes_;
    BusEar question_;
};

} // namespace velmoran
