// velmoranctl as a client of the running program.
#include "BusFixture.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::BusFixture;
using ::testing::HasSubstr;

using Command = BusFixture;

TEST_F(Command, StatusSaysWhatIsOn) {
    launch();
    EXPECT_EQ(ctl({"status"}, 0).output(), "Camera and microphone are off\n");
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(ctl({"status"}, 0).output(), HasSubstr("Zoom is using the camera (since "));
    EXPECT_EQ(ctl({"status", "--json"}, 0).output(), encode(statusOf(*model)) + "\n");
}

TEST_F(Command, StopStopsAndSaysWhatHappened) {
    launch();
    model->receive(reading({app("Zoom"), app("Meet")}));
    EXPECT_EQ(ctl({"stop", "zoom"}, 0).output(), "Zoom was closed.\n");
    model->receive(reading({app("Zoom"), app("Meet")}));
    EXPECT_EQ(ctl({"stop"}, 0).output(),
              "Microphone muted. Zoom and Meet were closed.\nThe microphone stays muted until you "
              "unmute it in the Microphone row of the panel.\n");
    EXPECT_EQ(ctl({"unmute"}, 0).output(), "The microphone is no longer muted.\n");
}

TEST_F(Command, EndsWith2ForAnAppThatIsNotOn) {
    launch();
    const auto said = ctl({"stop", "Zoom"}, 2);
    EXPECT_EQ(said.output(), "");
    EXPECT_EQ(said.errors(), "velmoranctl: “Zoom” isn't using the camera or microphone. "
                             "Nothing is.\n");
    EXPECT_EQ(ctl({"stop", std::string(5000, 'x')}, 2).output(), "");
    ctl({"stop", ""}, 2);
    ctl({"stop", "Zoom", "Meet"}, 2);
    ctl({"unmute", "now"}, 2);
    ctl({"status", "--xml"}, 2);
}

TEST_F(Command, EndsWith3WhenSomethingGoesOn) {
    machine.script.refusesToClose = {"org.example.Zoom"};
    launch();
    model->receive(reading({app("Zoom")}));
    EXPECT_THAT(ctl({"stop"}, 3).output(), HasSubstr("Zoom didn't close"));
    machine.script.microphones = {{"Stubborn", false, std::nullopt}};
    EXPECT_EQ(ctl({"unmute"}, 3).output(),
              "The microphone couldn't be unmuted.\nStubborn couldn't be unmuted.\n");
    machine.setSoundServerHangs(true);
    EXPECT_EQ(ctl({"unmute"}, 3).output(),
              "The microphone couldn't be unmuted yet.\nThe sound server didn't answer. As soon as "
              "it does, the microphone is unmuted.\n");
}

TEST_F(Command, SaysInOneLineThatVelmoranIsNotRunning) {
    for (const std::vector<std::string>& command : {std::vector<std::string>{"status"},
                                                    {"status", "--json"},
                                                    {"stop"},
                                                    {"stop", "Zoom"},
                                                    {"unmute"}}) {
        const auto said = ctl(command, 1);
        EXPECT_EQ(said.output(), "");
        EXPECT_EQ(said.errors(), "velmoranctl: Velmoran isn't running.\n");
    }
    bus_->stop();
    EXPECT_EQ(ctl({"status"}, 1).errors(),
              "velmoranctl: There is no session bus to reach Velmoran by.\n");
}

TEST_F(Command, ShowsNoControlCharacterToATerminal) {
    launch();
    auto evil = app("Zoom");
    evil.name = "Zo\x1B[2Jom\n\xC2\x9B!";
    model->receive(reading({evil}));
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"status"}, {"status", "--json"}, {"stop", "Meet"}, {"stop"}}) {
        const auto said = ctl(command, command.back() == "Meet" ? 2 : 0);
        const auto text = said.output() + said.errors();
        EXPECT_THAT(text, HasSubstr("Zo")) << said.title();
        EXPECT_EQ(text.find('\x1B'), std::string::npos) << said.title() << text;
        if (command.back() != "--json") {
            EXPECT_EQ(text.find("\xC2\x9B"), std::string::npos) << said.title() << text;
        }
    }
}

} // namespace
} // namespace velmoran
