#include "system/bus/BusAddress.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(BusAddress, FindsTheSocketsInAnAddress) {
    EXPECT_THAT(socketPaths("unix:path=/run/user/1000/bus"), ElementsAre("/run/user/1000/bus"));
    EXPECT_THAT(socketPaths("unix:guid=12ab,path=/a/b;tcp:host=localhost,port=1;unix:path=/c"),
                ElementsAre("/a/b", "/c"));
    EXPECT_THAT(socketPaths("unix:path=/a%20b%2fc%2"), ElementsAre("/a b/c%2"));
}

TEST(BusAddress, FindsNoneWhereThereIsNone) {
    for (const auto* address : {"", ";", "unix:", "unix:path=", "unix:path=relative",
                                "autolaunch:", "unix:abstract=/tmp/x", "tcp:path=/a", "unix"}) {
        EXPECT_THAT(socketPaths(address), IsEmpty()) << address;
    }
}

} // namespace
} // namespace velmoran
