#include "app/web/VersionFile.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(VersionFile, SaysAVersionAndWhateverElse) {
    EXPECT_EQ(newestVersion(R"({"version":"1.10"})"), "1.10");
    EXPECT_EQ(newestVersion(R"( {"notes": [1, {}], "version": "2", "size": 3} )"), "2");
    EXPECT_EQ(newestVersion(R"({"version":""})"), "");
}

TEST(VersionFile, IsAnObjectWithATextForAVersion) {
    for (const char* other :
         {"", "1.10", "\"1.10\"", "[\"1.10\"]", "null", "{}", R"({"Version":"1"})",
          R"({"version":1.10})", R"({"version":null})", R"({"version":["1"]})", R"({"version":"1")",
          R"({"version":"1"} and more)", "{\"version\":\"\xFF\"}", "<html></html>"}) {
        EXPECT_EQ(newestVersion(other), std::nullopt) << other;
    }
}

TEST(VersionFile, IsReadHoweverDeepItIs) {
    EXPECT_EQ(newestVersion(std::string(60000, '[')), std::nullopt);
    const auto deep = std::string(20000, '[') + std::string(20000, ']');
    EXPECT_EQ(newestVersion("{\"more\":" + deep + ",\"version\":\"1\"}"), "1");
}

} // namespace
} // namespace velmoran
