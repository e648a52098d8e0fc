#include "app/shell/SingleInstance.h"
#include "core/base/Uuid.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

bool soon(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 20000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    return condition();
}

struct SingleInstanceTest : ::testing::Test {
    const std::string name = "org.velmoran.Test-" + Uuid::random().text();
};

TEST_F(SingleInstanceTest, TheSecondStartTellsTheFirstToShowItself) {
    SingleInstance first(name);
    int shows = 0;
    first.onShow([&] { ++shows; });
    ASSERT_EQ(first.role(), SingleInstance::Role::first);
    const SingleInstance second(name);
    EXPECT_EQ(second.role(), SingleInstance::Role::second);
    EXPECT_TRUE(soon([&] { return shows == 1; }));
    const SingleInstance third(name);
    EXPECT_EQ(third.role(), SingleInstance::Role::second);
    EXPECT_TRUE(soon([&] { return shows == 2; }));
}

TEST_F(SingleInstanceTest, AStartAfterTheEndOfTheFirstIsTheFirst) {
    { const SingleInstance first(name); }
    const SingleInstance next(name);
    EXPECT_EQ(next.role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, OtherNamesAreOtherPrograms) {
    const SingleInstance first(name);
    const SingleInstance other(name + "x");
    EXPECT_EQ(other.role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, AStartBeforeAnybodyListensIsNotForgotten) {
    SingleInstance first(name);
    const SingleInstance second(name);
    int shows = 0;
    first.onShow([&] { ++shows; });
    EXPECT_TRUE(soon([&] { return shows == 1; }));
}

} // namespace
} // namespace velmoran
