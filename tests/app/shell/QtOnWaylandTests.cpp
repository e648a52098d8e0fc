#include "app/shell/QtOnWayland.h"

#include <QByteArray>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(QtOnWayland, TellsOtherProgramsNothingOfWhatQtIsToldHere) {
    constexpr const char* wish = "QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT";
    const auto before = qgetenv(wish);
    qputenv(wish, "1");
    bool wasSet = true;
    withoutQtsWishes([&] { wasSet = qEnvironmentVariableIsSet(wish); });
    EXPECT_FALSE(wasSet);
    EXPECT_EQ(qgetenv(wish), "1");
    qunsetenv(wish);
    withoutQtsWishes([] {});
    EXPECT_FALSE(qEnvironmentVariableIsSet(wish));
    if (!before.isEmpty()) {
        qputenv(wish, before);
    }
}

} // namespace
} // namespace velmoran
