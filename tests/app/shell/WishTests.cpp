#include "app/shell/Wish.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(Wish, ComesBackAsItWasWritten) {
    for (const auto& wish : {Wish{"", ""}, Wish{"history", ""}, Wish{"", "token"},
                             Wish{"history", "a token\twith tab"}}) {
        const auto read = Wish::from(wish.text());
        EXPECT_EQ(read.window, wish.window);
        EXPECT_EQ(read.token, wish.token);
    }
}

TEST(Wish, OfAnEarlierVersionIsAWindowAlone) {
    EXPECT_EQ(Wish::from("settings").window, "settings");
    EXPECT_EQ(Wish::from("settings").token, "");
    EXPECT_EQ(Wish::from("settings\t").window, "settings");
    EXPECT_EQ(Wish::from("settings\t").token, "");
}

} // namespace
} // namespace velmoran
