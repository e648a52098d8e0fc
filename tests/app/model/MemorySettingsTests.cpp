#include "app/model/MemorySettings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(MemorySettings, AnswersWhatWasWrittenThenWhatWasRegistered) {
    MemorySettings settings;
    EXPECT_EQ(settings.boolean("a"), std::nullopt);
    settings.registerBoolean("a", true);
    settings.registerInteger("n", 90);
    EXPECT_EQ(settings.boolean("a"), true);
    EXPECT_EQ(settings.integer("n"), 90);
    EXPECT_TRUE(settings.isEmpty());
    settings.setBoolean("a", false);
    settings.setInteger("n", 30);
    EXPECT_EQ(settings.boolean("a"), false);
    EXPECT_EQ(settings.integer("n"), 30);
    settings.remove("a");
    EXPECT_EQ(settings.boolean("a"), true);
}

TEST(MemorySettings, KeepsBytesNumbersAndTexts) {
    MemorySettings settings;
    const std::string bytes("\0\xFF{\n", 4);
    settings.setBytes("b", bytes);
    settings.setNumbers("n", {1.5, -2});
    settings.setTexts("t", {"de"});
    EXPECT_EQ(settings.bytes("b"), bytes);
    EXPECT_EQ(settings.numbers("n"), (std::vector<double>{1.5, -2}));
    EXPECT_EQ(settings.texts("t"), (std::vector<std::string>{"de"}));
    EXPECT_TRUE(settings.contains("b"));
}

TEST(MemorySettings, TakesAWrongTypeForMissing) {
    MemorySettings settings;
    settings.registerBoolean("flag", true);
    settings.registerInteger("days", 90);
    for (const auto* wrong : {"1", "1.5", "\"true\"", "null", "[true]", "{}"}) {
        settings.setAny("flag", Json::parse(wrong));
        EXPECT_EQ(settings.boolean("flag"), true) << wrong;
    }
    for (const auto* wrong : {"true", "1.5", "\"30\"", "18446744073709551615"}) {
        settings.setAny("days", Json::parse(wrong));
        EXPECT_EQ(settings.integer("days"), 90) << wrong;
    }
    for (const auto* wrong : {"1", "[1, \"2\"]", "[true]"}) {
        settings.setAny("place", Json::parse(wrong));
        EXPECT_EQ(settings.numbers("place"), std::nullopt) << wrong;
    }
    for (const auto* wrong : {"\"de\"", "[1]", "[\"de\", 1]"}) {
        settings.setAny("languages", Json::parse(wrong));
        EXPECT_EQ(settings.texts("languages"), std::nullopt) << wrong;
    }
    settings.setAny("data", "text");
    EXPECT_EQ(settings.bytes("data"), std::nullopt);
}

} // namespace
} // namespace velmoran
