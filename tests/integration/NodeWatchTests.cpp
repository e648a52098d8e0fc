// What is left of it when other programs hold all the watches that the kernel gives a user.
#include "system/linux/kernel/NodeWatch.h"

#include "support/InotifyLimits.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <memory>

namespace velmoran {
namespace {

using support::askWithInotifyLimits;
using support::limitInotify;
using support::waitUntil;

/// A watch on a folder with one node, by its own loop.
class Watched {
public:
    Watched() : node_(folder_.write("node", "")) {
        loop_.runAndWait([this] {
            NodeWatch::Receiver receiver;
            receiver.folderChanged = [this] {
                watchesAll_ = watch_->watchNodes({node_});
            };
            receiver.nodesUsed = [this](const auto&) {
                isUsed_ = true;
            };
            receiver.eventsLost = [] {
            };
            watch_ = std::make_unique<NodeWatch>(
                loop_, folder_.path(), [](std::string_view) { return true; }, std::move(receiver));
        });
    }
    ~Watched() {
        loop_.runAndWait([this] { watch_.reset(); });
    }
    Watched(const Watched&) = delete;
    Watched& operator=(const Watched&) = delete;

    void watchNodes() {
        loop_.runAndWait([this] { watchesAll_ = watch_->watchNodes({node_}); });
    }
    bool isShort() {
        bool isShort = false;
        loop_.runAndWait([&] { isShort = watch_->isShortOfWatches(); });
        return isShort;
    }
    bool watchesFolder() {
        bool watches = false;
        loop_.runAndWait([&] { watches = watch_->watchesFolder(); });
        return watches;
    }
    bool watchesAll() const { return watchesAll_; }
    /// Whether it hears of somebody who opens the node.
    bool hearsOfUse() {
        std::ifstream(node_).get();
        return waitUntil([this] { return isUsed_.load(); });
    }

private:
    TemporaryDirectory folder_;
    std::string node_;
    std::atomic<bool> watchesAll_ = false;
    std::atomic<bool> isUsed_ = false;
    EventLoop loop_;
    std::unique_ptr<NodeWatch> watch_;
};

TEST(NodeWatch, TriesAgainWhenTheKernelHadNoWatchLeft) {
    const auto wrong = askWithInotifyLimits([] {
        limitInotify("watches", 0);
        Watched watched;
        watched.watchNodes();
        int answer = watched.watchesAll() || watched.watchesFolder() || !watched.isShort() ? 1 : 0;
        limitInotify("watches", 100);
        answer += waitUntil([&] { return watched.watchesAll(); }) ? 0 : 2;
        answer += watched.watchesFolder() && !watched.isShort() ? 0 : 4;
        answer += watched.hearsOfUse() ? 0 : 8;
        return answer;
    });
    if (!wrong) {
        GTEST_SKIP() << "may not limit watches in a user namespace here";
    }
    EXPECT_EQ(wrong, 0);
}

TEST(NodeWatch, TriesAgainWhenThereWasNoWatchLeftForANode) {
    const auto wrong = askWithInotifyLimits([] {
        limitInotify("watches", 1);
        Watched watched;
        int answer = watched.watchesFolder() && !watched.isShort() ? 0 : 1;
        watched.watchNodes();
        answer += !watched.watchesAll() && watched.isShort() ? 0 : 2;
        limitInotify("watches", 100);
        answer += waitUntil([&] { return watched.watchesAll(); }) ? 0 : 4;
        answer += watched.hearsOfUse() ? 0 : 8;
        return answer;
    });
    if (!wrong) {
        GTEST_SKIP() << "may not limit watches in a user namespace here";
    }
    EXPECT_EQ(wrong, 0);
}

TEST(NodeWatch, TriesAgainWhenThereWasNoDescriptorLeft) {
    const auto wrong = askWithInotifyLimits([] {
        limitInotify("instances", 0);
        Watched watched;
        int answer = watched.isShort() && !watched.watchesFolder() ? 0 : 1;
        limitInotify("instances", 10);
        answer += waitUntil([&] { return watched.watchesAll(); }) ? 0 : 2;
        answer += watched.hearsOfUse() ? 0 : 4;
        return answer;
    });
    if (!wrong) {
        GTEST_SKIP() << "may not limit watches in a user namespace here";
    }
    EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace velmoran
