#include "core/base/SharedEvent.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

namespace velmoran {
namespace {

TEST(SharedEvent, IsHeardFromAnotherThreadUntilTheHandleGoes) {
    int heard = 0;
    const SharedEvent<int> event;
    auto handle = event.subscribe([&](int value) { heard += value; });
    std::thread([&] { event(3); }).join();
    EXPECT_EQ(heard, 3);
    handle.reset();
    std::thread([&] { event(3); }).join();
    EXPECT_EQ(heard, 3);
}

TEST(SharedEvent, LetsAReceiverDropItsHandle) {
    int heard = 0;
    const SharedEvent<> event;
    Subscription handle;
    handle = event.subscribe([&] {
        ++heard;
        handle.reset();
    });
    event();
    event();
    EXPECT_EQ(heard, 1);
}

TEST(SharedEvent, GoesBeforeItsHandle) {
    auto event = std::make_unique<SharedEvent<>>();
    auto handle = event->subscribe([] {});
    event.reset();
    handle.reset();
}

} // namespace
} // namespace velmoran
