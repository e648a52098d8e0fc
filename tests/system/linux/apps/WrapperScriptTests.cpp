#include "system/linux/apps/WrapperScript.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

TEST(WrapperScript, NamesThePathsInItsText) {
    EXPECT_THAT(pathsInWrapper("#!/bin/sh\nexec /usr/lib/app/app \"$@\"\n"),
                ElementsAre("/bin/sh", "/usr/lib/app/app"));
    EXPECT_THAT(pathsInWrapper("#!/bin/sh\n# see /usr/share/doc/app/.\n"),
                ElementsAre("/bin/sh", "/usr/share/doc/app"));
}

TEST(WrapperScript, NamesWhatItsVariablesStandFor) {
    EXPECT_THAT(pathsInWrapper("#!/bin/sh\n"
                               "APP=browser\n"
                               "  export FOLDER=\"/usr/lib/$APP\"  # where it lies\n"
                               "exec ${FOLDER}/$APP $FLAGS \"$@\"\n"),
                Contains("/usr/lib/browser/browser"));
    EXPECT_THAT(pathsInWrapper("#!/bin/sh\nA='/opt/$B'\nB=x\nexec $A/run\n"),
                Not(Contains("/opt/x/run")))
        << "nothing stands for something else in these quotes";
}

TEST(WrapperScript, DoesNotGuessWhatItCannotKnow) {
    EXPECT_THAT(pathsInWrapper("#!x\nA=/usr/lib/one\nA=$(find /usr/lib/two)\nexec $A/app\n"),
                Not(Contains("/usr/lib/one/app")));
    EXPECT_THAT(pathsInWrapper("#!x\nexec $UNKNOWN/usr/lib/app ${OTHER}/usr/lib/app\n"),
                Not(Contains("/usr/lib/app")));
    EXPECT_THAT(pathsInWrapper("exec /usr/lib/app/app\n"), IsEmpty()) << "it is no script";
    EXPECT_THAT(pathsInWrapper(""), IsEmpty());
}

TEST(WrapperScript, StaysShortWhateverItSays) {
    std::string text = "#!x\nA=" + std::string(900, 'a') + "\n";
    for (int line = 0; line < 100; ++line) {
        text += "A=$A$A$A$A\n";
    }
    for (int line = 0; line < 1000; ++line) {
        text += "/$A\n";
    }
    std::size_t size = 0;
    for (const auto& path : pathsInWrapper(text)) {
        size += path.size();
    }
    EXPECT_LE(size, 4 * longestWrapper);
}

} // namespace
} // namespace velmoran
