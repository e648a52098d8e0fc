#include "core/base/Recurrence.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(Recurrence, IsThereTheThirdTimeWithinTheSpan) {
    Recurrence recurrence(3, 10.0);
    EXPECT_FALSE(recurrence.add({100}));
    EXPECT_FALSE(recurrence.add({105}));
    EXPECT_TRUE(recurrence.add({109}));
    EXPECT_TRUE(recurrence.add({110})) << "it goes on";
}

TEST(Recurrence, ForgetsWhatIsAsOldAsTheSpan) {
    Recurrence recurrence(3, 10.0);
    recurrence.add({100});
    recurrence.add({105});
    EXPECT_FALSE(recurrence.add({110}));
    EXPECT_TRUE(recurrence.add({114.9}));
}

TEST(Recurrence, CountsAnew) {
    Recurrence recurrence(2, 10.0);
    recurrence.add({100});
    EXPECT_TRUE(recurrence.add({101}));
    recurrence.clear();
    EXPECT_FALSE(recurrence.add({102}));
    EXPECT_TRUE(recurrence.add({103}));
}

} // namespace
} // namespace velmoran
