// The way to one bus for as many as need it: connects when the first comes, leaves when the last
// has gone, and looks for a bus that has gone away by the folder of its socket, and seldom besides.
// Owned by the machine; the loop's thread only, but for its making.
#pragma once

#include "system/linux/bus/BusLine.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/NodeWatch.h"

#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace velmoran {

class BusKeeper {
public:
    struct Follower {
        /// The bus has let us in. What is heard on the line is to be dropped by `down`.
        std::function<void(BusLine&)> up;
        /// The line has gone, or there is no bus; may come again and again.
        std::function<void()> down;
    };

    /// The loop outlives this.
    BusKeeper(EventLoop& loop, std::string address);
    ~BusKeeper();
    BusKeeper(const BusKeeper&) = delete;
    BusKeeper& operator=(const BusKeeper&) = delete;

    /// Told at once when the bus is there already; not told of the end of the handle.
    [[nodiscard]] Subscription follow(Follower follower);

private:
    struct Search;

    void connect();
    void search();
    void letIn();
    void lost();
    void leaveIfUnused();
    void tellAll(bool up);

    EventLoop& loop_;
    std::string address_;
    std::list<std::shared_ptr<Follower>> followers_;
    std::unique_ptr<BusLine> line_;
    BusEar entry_;
    bool isUp_ = false;
    std::unique_ptr<Search> search_; ///< until the bus has let us in
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

} // namespace velmoran
