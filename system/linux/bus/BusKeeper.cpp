#include "system/linux/bus/BusKeeper.h"

#include "system/bus/BusAddress.h"

#include <array>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

/// After a socket has come: its server begins to listen a moment later.
constexpr std::array<Seconds, 3> soon = {0.05, 0.5, 3.0};
/// Where nothing tells that one comes.
constexpr Seconds searchInterval = 30.0;

} // namespace

struct BusKeeper::Search {
    std::vector<std::unique_ptr<NodeWatch>> folders;
    std::size_t step = 0;
    Subscription soonAgain;
    Subscription regularly;

    Search(BusKeeper& keeper, EventLoop& loop) {
        for (const std::filesystem::path path : socketPaths(keeper.address_)) {
            NodeWatch::Receiver receiver;
            receiver.folderChanged = [this, &keeper, &loop] {
                trySoon(keeper, loop);
            };
            receiver.nodesUsed = [](const std::vector<NodeEvents>&) {
            };
            receiver.eventsLost = [] {
            };
            folders.push_back(std::make_unique<NodeWatch>(
                loop, path.parent_path(),
                [name = path.filename().string()](std::string_view file) { return file == name; },
                std::move(receiver)));
        }
        regularly = loop.every(searchInterval, [&keeper] { keeper.connect(); });
        trySoon(keeper, loop);
    }

    void trySoon(BusKeeper& keeper, EventLoop& loop) {
        step = 0;
        retry(keeper, loop);
    }

    void retry(BusKeeper& keeper, EventLoop& loop) {
        soonAgain = loop.after(soon.at(step), [this, &keeper, &loop] {
            if (++step < soon.size()) {
                retry(keeper, loop);
            }
            keeper.connect();
        });
    }
};

BusKeeper::BusKeeper(EventLoop& loop, std::string address)
    : loop_(loop),
      address_(std::move(address)) {}

BusKeeper::~BusKeeper() {
    loop_.runAndWait([this] {
        alive_.reset();
        search_.reset();
        entry_ = {};
        line_.reset();
    });
}

Subscription BusKeeper::follow(Follower follower) {
    const auto kept = std::make_shared<Follower>(std::move(follower));
    followers_.push_back(kept);
    if (isUp_) {
        kept->up(*line_);
    } else if (!line_ && !search_) {
        connect();
    } else if (!line_) {
        kept->down();
    }
    return Subscription([this, kept, alive = std::weak_ptr(alive_)] {
        if (!alive.expired()) {
            followers_.remove(kept);
            // Perhaps in a call of the line.
            loop_.post([this, alive] {
                if (!alive.expired()) {
                    leaveIfUnused();
                }
            });
        }
    });
}

void BusKeeper::leaveIfUnused() {
    if (followers_.empty()) {
        search_.reset();
        entry_ = {};
        line_.reset();
        isUp_ = false;
    }
}

void BusKeeper::connect() {
    if (line_) {
        return;
    }
    line_ = BusLine::open(loop_, address_, [this] { lost(); });
    if (!line_) {
        lost();
        return;
    }
    // Whoever takes the connection and doesn't let us in is no bus.
    constexpr const char* theBus = "org.freedesktop.DBus";
    entry_ = line_->ask(line_->newCall(theBus, "/org/freedesktop/DBus", theBus, "GetId"),
                        [this](sd_bus_message* answer) {
                            if (!isBusError(answer)) {
                                letIn();
                            } else {
                                loop_.post([this, alive = std::weak_ptr(alive_)] {
                                    if (!alive.expired()) {
                                        lost();
                                    }
                                });
                            }
                        });
}

void BusKeeper::letIn() {
    search_.reset();
    isUp_ = true;
    tellAll(true);
}

void BusKeeper::lost() {
    entry_ = {};
    line_.reset();
    isUp_ = false;
    tellAll(false);
    if (!search_ && !followers_.empty() && !address_.empty()) {
        search_ = std::make_unique<Search>(*this, loop_);
    }
}

void BusKeeper::tellAll(bool up) {
    const auto present = followers_; // one may leave, and others come, in the call
    for (const auto& follower : present) {
        if (up && line_ && isUp_) {
            follower->up(*line_);
        } else if (!up) {
            follower->down();
        }
    }
}

} // namespace velmoran
