#include "app/shell/ProgramOptions.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;

ProgramOptions options(const QStringList& arguments) {
    return ProgramOptions::from(QStringList(QStringLiteral("velmoran")) + arguments);
}

TEST(ProgramOptions, AreNoneByDefault) {
    const auto given = options({});
    EXPECT_EQ(given.task, ProgramOptions::Task::run);
    EXPECT_EQ(given.show, std::nullopt);
    EXPECT_EQ(given.showWindow, std::nullopt);
    EXPECT_FALSE(given.isLoginStart);
    EXPECT_FALSE(given.isStartedAnew);
    EXPECT_TRUE(given.error.isEmpty());
}

TEST(ProgramOptions, NameAWindow) {
    for (const char* window : {"main", "history", "settings"}) {
        EXPECT_EQ(options({"--show", window}).show, window);
        EXPECT_EQ(options({QStringLiteral("--show=") + window}).show, window);
    }
    const auto wrong = options({"--show", "details"});
    EXPECT_EQ(wrong.error.toStdString(),
              "there is no window \"details\"; velmoran --help tells what there is");
    EXPECT_FALSE(options({"--show"}).error.isEmpty());
}

TEST(ProgramOptions, TakeASettingForOneStart) {
    EXPECT_EQ(options({"-showWindow", "history"}).showWindow, "history");
    EXPECT_EQ(options({"--showWindow", "anything"}).showWindow, "anything");
    EXPECT_TRUE(options({"-showWindow", "anything"}).error.isEmpty());
}

TEST(ProgramOptions, KnowALoginAndAStartInAnothersPlace) {
    EXPECT_TRUE(options({"--login-start"}).isLoginStart);
    EXPECT_TRUE(options({"--nothing-was-on"}).isStartedAnew);
    EXPECT_TRUE(options({"--unit-start"}).isLoginStart);
}

TEST(ProgramOptions, AreHandedOverOnlyByAPlainLogin) {
    EXPECT_TRUE(options({"--login-start"}).canBeHandedOver);
    EXPECT_FALSE(options({}).canBeHandedOver);
    EXPECT_FALSE(options({"--unit-start"}).canBeHandedOver) << "it would go round";
    EXPECT_FALSE(options({"--login-start", "--device-folder", "/x"}).canBeHandedOver);
}

TEST(ProgramOptions, TellWhatThereIs) {
    EXPECT_EQ(options({"-h"}).task, ProgramOptions::Task::help);
    EXPECT_EQ(options({"--help-all"}).task, ProgramOptions::Task::help);
    EXPECT_EQ(options({"--version"}).task, ProgramOptions::Task::version);
    const auto help = options({"--help"}).help.toStdString();
    EXPECT_NE(help.find("--show <WINDOW>"), std::string::npos) << help;
    EXPECT_EQ(help.find("login-start"), std::string::npos);
    EXPECT_EQ(help.find("showWindow"), std::string::npos);
}

TEST(ProgramOptions, KnowWhetherTheDisplayWasLostOnceOrAgain) {
    EXPECT_FALSE(options({}).hasLostDisplay);
    EXPECT_TRUE(options({"--display-lost"}).hasLostDisplay);
    EXPECT_FALSE(options({"--display-lost"}).hasLostAnother);
    EXPECT_TRUE(options({"--display-lost-again"}).hasLostDisplay);
    EXPECT_TRUE(options({"--display-lost-again"}).hasLostAnother);
}

TEST(ProgramOptions, RunAgainWithoutTheSessionThatWasBroughtBack) {
    EXPECT_THAT(argumentsToRunAgain(
                    {"velmoran", "-session", "10f_1", "--device-folder", "session", "-session=2"}),
                ElementsAre("velmoran", "--device-folder", "session"));
}

TEST(ProgramOptions, RunAgainWithoutWhatWasToBeShownAtOnce) {
    EXPECT_THAT(argumentsToRunAgain({"velmoran", "--login-start", "--device-folder", "/dev",
                                     "--show", "history", "-showWindow", "settings", "--show=main",
                                     "--nothing-was-on", "--display-lost", "--display-lost-again"}),
                ElementsAre("velmoran", "--device-folder", "/dev"));
    EXPECT_THAT(argumentsToRunAgain({"velmoran"}), ElementsAre("velmoran"));
    EXPECT_THAT(argumentsToRunAgain({"velmoran", "", "-"}), ElementsAre("velmoran", "", "-"));
}

} // namespace
} // namespace velmoran
