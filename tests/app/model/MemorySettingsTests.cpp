#include "app/model/MemorySettings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(MemorySettings, AnswersWhatWasWrittenLast) {
    MemorySettings settings;
    EXPECT_EQ(settings.boolean("a"), std::nullopt);
    EXPECT_EQ(settings.integer("n"), std::nullopt);
    EXPECT_TRUE(settings.isEmpty());
    settings.setBoolean("a", true);
    settings.setInteger("n", 90);
    settings.setBoolean("a", false);
    settings.setInteger("n", 30);
    EXPECT_EQ(settings.boolean("a"), false);
    EXPECT_EQ(settings.integer("n"), 30);
    settings.remove("a");
    EXPECT_EQ(settings.boolean("a"), std::nullopt);
    EXPECT_FALSE(settings.isEmpty());
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
}

TEST(MemorySettings, TakesAWrongTypeForMissing) {
    MemorySettings settings;
    settings.setBoolean("boolean", true);
    settings.setInteger("integer", 1);
    settings.setNumbers("numbers", {1});
    settings.setBytes("bytes", "true");
    settings.setTexts("texts", {"1"});
    for (const std::string key : {"boolean", "integer", "numbers", "bytes", "texts"}) {
        EXPECT_EQ(settings.boolean(key).has_value(), key == "boolean") << key;
        EXPECT_EQ(settings.integer(key).has_value(), key == "integer") << key;
        EXPECT_EQ(settings.numbers(key).has_value(), key == "numbers") << key;
        EXPECT_EQ(settings.bytes(key).has_value(), key == "bytes") << key;
        EXPECT_EQ(settings.texts(key).has_value(), key == "texts") << key;
    }
}

} // namespace
} // namespace velmoran
