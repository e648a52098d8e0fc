#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"
#include "core/warnings/DeviceWording.h"
#include "core/warnings/HistoryWording.h"

#include <gtest/gtest.h>
#include <limits>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

constexpr auto camera = Device::camera;
constexpr auto microphone = Device::microphone;
constexpr auto speaker = Device::speaker;

TEST(DeviceWording, NamesEachDevice) {
    EXPECT_EQ(DeviceWording::the({camera}), "the camera");
    EXPECT_EQ(DeviceWording::the({microphone}), "the microphone");
    EXPECT_EQ(DeviceWording::the({speaker}), "the speaker");
    EXPECT_EQ(DeviceWording::the({}), "");
}

TEST(DeviceWording, CaresNeitherForOrderNorForRepeats) {
    EXPECT_EQ(DeviceWording::the({microphone, camera}), "the camera and microphone");
    EXPECT_EQ(DeviceWording::the({camera, microphone, camera}), "the camera and microphone");
    EXPECT_EQ(DeviceWording::the({camera, camera}), "the camera");
}

TEST(DeviceWording, ListsAnyOtherSetInTheOrderOfDevices) {
    EXPECT_EQ(DeviceWording::the({speaker, camera}), "the camera and the speaker");
    EXPECT_EQ(DeviceWording::the({speaker, microphone}), "the microphone and the speaker");
    EXPECT_EQ(DeviceWording::the({speaker, microphone, camera, speaker}),
              "the camera, the microphone, and the speaker");
}

TEST(HistoryWording, SaysWhatIsWrongAndWhy) {
    HistoryProblem problem{.kind = HistoryProblem::Kind::notWritten, .reason = ""};
    EXPECT_EQ(HistoryWording::sentence(problem),
              "History can't be saved right now. Its file couldn't be written.");
    problem.reason = "No space left on device";
    EXPECT_EQ(HistoryWording::sentence(problem),
              "History can't be saved right now. Its file couldn't be written. (No space left on "
              "device)");
    problem.kind = HistoryProblem::Kind::notOpened;
    EXPECT_EQ(HistoryWording::sentence(problem),
              "History can't be saved right now. Velmoran couldn't open its file on this Mac. (No "
              "space left on device)");
}

TEST(DeviceWording, TranslatesEachTextAsAUnit) {
    setWords(Localizer("de_DE", "UTC",
                       {{{"the camera", "die Kamera"},
                         {"the speaker", "der Lautsprecher"},
                         {"the camera and microphone", "Kamera und Mikrofon"}}}));
    EXPECT_EQ(DeviceWording::the({microphone, camera}), "Kamera und Mikrofon");
    EXPECT_EQ(DeviceWording::the({speaker, camera}), "die Kamera und der Lautsprecher");
    setWords(Localizer());
}

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

struct Length {
    double seconds;
    const char* text;
};

class DurationFormatOf : public testing::TestWithParam<Length> {};

TEST_P(DurationFormatOf, ReadsLikeThis) {
    EXPECT_EQ(DurationFormat::text(GetParam().seconds), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Table, DurationFormatOf,
    testing::Values(Length{-3, "0 s"}, Length{-0.1, "0 s"}, Length{0, "0 s"}, Length{59.9, "59 s"},
                    Length{59.999, "59 s"}, Length{60, "1 min"}, Length{119.9, "1 min"},
                    Length{3599, "59 min"}, Length{3599.9, "59 min"}, Length{3600, "1 h"},
                    Length{3600.9, "1 h"}, Length{3659.9, "1 h"}, Length{3660, "1 h 01 min"},
                    Length{3900, "1 h 05 min"}, Length{7199, "1 h 59 min"},
                    Length{9000, "2 h 30 min"}, Length{43200, "12 h"}, Length{90000, "25 h"},
                    Length{-1e15, "0 s"}, Length{3.6e15, "1000000000000 h"}, Length{-1e300, "0 s"},
                    Length{-infinity, "0 s"}, Length{notANumber, "0 s"},
                    Length{9223372036854774784.0, "2562047788015215 h 13 min"},
                    Length{9223372036854775808.0, "2562047788015215 h 13 min"},
                    Length{1e300, "2562047788015215 h 13 min"},
                    Length{infinity, "2562047788015215 h 13 min"}));

TEST(DurationFormat, LooksEachFormUpAsAWhole) {
    setWords(Localizer("de_DE", "UTC",
                       {{{"%lld s", "%lld Sek."},
                         {"%lld min", "%lld Min."},
                         {"%lld h", "%lld Std."},
                         {"%lld h %@ min", "%2$@ Min. nach %1$lld Std."}}}));
    EXPECT_EQ(DurationFormat::text(7), "7 Sek.");
    EXPECT_EQ(DurationFormat::text(60), "1 Min.");
    EXPECT_EQ(DurationFormat::text(7200), "2 Std.");
    EXPECT_EQ(DurationFormat::text(3900), "05 Min. nach 1 Std.");
    setWords(Localizer());
}

RC_GTEST_PROP(DurationFormat, LosesLessThanItsSmallestUnit, ()) {
    const int seconds = *rc::gen::inRange(0, 1000000);
    const auto text = DurationFormat::text(seconds + 0.5);
    int first = 0;
    int second = 0;
    int shown = 0;
    if (std::sscanf(text.c_str(), "%d h %d min", &first, &second) == 2) {
        shown = first * 3600 + second * 60;
        RC_ASSERT(text.find(" h ") + 9 == text.size()); // two digits
    } else {
        const auto unit = text.substr(text.find(' ') + 1);
        shown = std::stoi(text) * (unit == "s" ? 1 : unit == "min" ? 60 : 3600);
    }
    RC_ASSERT(shown <= seconds);
    RC_ASSERT(seconds - shown < (seconds < 60 ? 1 : 60));
}

} // namespace
} // namespace velmoran
