#include "app/contents/DetailsContent.h"

#include "Rows.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using Field = DetailsContent::Field;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Timestamp detailsStart{794136600}; // 09:30 UTC

DetailsContent detailsOf(const ActivityRow& row, Timestamp now = detailsStart + 3600,
                         const std::optional<SystemProcess>& process = {}) {
    return DetailsContent::of(row, process, {}, now);
}

UsageSession detailsSession(Device device) {
    return sessionOf(app("zoom"), device, detailsStart);
}

TEST(DetailsContent, OfAnEndedUseHasStartEndAndDuration) {
    EXPECT_THAT(detailsOf(rowOf({ended(detailsSession(Device::camera), 125)})).fields,
                ElementsAre(Field{"Started", words().shortTime(detailsStart)},
                            Field{"Ended", words().shortTime(detailsStart + 125)},
                            Field{"Duration", "2 min"}));
}

TEST(DetailsContent, OfAnOpenUseIsStillOnAndGrows) {
    const auto row = rowOf({detailsSession(Device::camera)});
    EXPECT_THAT(detailsOf(row, detailsStart + 59.9).fields,
                ElementsAre(Field{"Started", words().shortTime(detailsStart)},
                            Field{"Ended", "Still on"}, Field{"Duration", "59 s"}));
    EXPECT_EQ(detailsOf(row, detailsStart + 60).fields.at(2).value, "1 min");
}

TEST(DetailsContent, OfAUseThatAQuitCutOffDoesNotKnowItsEnd) {
    EXPECT_THAT(detailsOf(rowOf({endedUnknown(detailsSession(Device::camera))})).fields,
                ElementsAre(Field{"Started", words().shortTime(detailsStart)},
                            Field{"Ended", "Not known. Velmoran wasn't running when it ended."}));
}

TEST(DetailsContent, OfAPartOfTheSystemExplainsItInsteadOfTimes) {
    const auto siri = SystemProcess::known("com.apple.corespeechd");
    ASSERT_TRUE(siri);
    const auto content = detailsOf(rowOf({detailsSession(Device::microphone)}), detailsStart, siri);
    EXPECT_THAT(content.fields, IsEmpty());
    ASSERT_TRUE(content.systemProcess);
    EXPECT_EQ(content.systemProcess->label, "Part of macOS");
    EXPECT_EQ(content.systemProcess->explanation, siri->explanation);
    EXPECT_EQ(content.systemProcess->help, "Explains what this part of macOS does");
    EXPECT_EQ(content.systemProcess->heading, "Name of zoom is part of macOS");
    EXPECT_EQ(content.systemProcess->assurance,
              "Velmoran checked that Apple signed it and that it sits in a protected system "
              "folder. A program that only uses this name would not get this note.");
}

TEST(DetailsContent, OnLinuxThePartIsTheSystems) {
    setWords(Localizer("en_US", "UTC", catalogues("en_US", Platform::linux)));
    const auto content =
        SystemProcessContent::of("Volume Control", {.signingID = "linux.pavucontrol",
                                                    .role = SystemProcess::Role::listensForSystem,
                                                    .explanation = "The sound settings."});
    setWords(Localizer());
    EXPECT_EQ(content.label, "Part of the system");
    EXPECT_EQ(content.help, "Explains what this part of the system does");
    EXPECT_EQ(content.heading, "Volume Control is part of the system");
    EXPECT_EQ(content.assurance.find("Apple"), std::string::npos);
}

TEST(DetailsContent, ListsTheTechnicalDetailsThatThereAre) {
    auto session = detailsSession(Device::camera);
    EXPECT_THAT(detailsOf(rowOf({session})).technical, IsEmpty());
    session.app.bundleID = "us.example.zoom";
    session.app.path = "/Applications/Zoom.app";
    session.app.teamID = "Z1";
    EXPECT_THAT(detailsOf(rowOf({session})).technical,
                ElementsAre("Bundle ID: us.example.zoom", "Location: /Applications/Zoom.app",
                            "Signed by team: Z1"));
    session.app.bundleID.reset();
    EXPECT_THAT(detailsOf(rowOf({session})).technical,
                ElementsAre("Location: /Applications/Zoom.app", "Signed by team: Z1"));
}

TEST(DetailsContent, HasTheRowsTrustAndConnections) {
    const auto row = rowOf({detailsSession(Device::camera)});
    TrustList trust;
    trust.setTrusted(true, app("zoom"), {Device::camera});
    const auto content = DetailsContent::of(row, {}, trust, detailsStart);
    EXPECT_EQ(content.trust, TrustChoice::of(row, trust));
    EXPECT_TRUE(content.trust.allTrusted);
    EXPECT_EQ(content.connections, ConnectionsContent::of(row));
    EXPECT_EQ(content.app, app("zoom"));
}

TEST(DetailsContent, SaysWhenTheRowHasGone) {
    EXPECT_EQ(DetailsContent::vanished(), "This entry is no longer in History.");
}

} // namespace
} // namespace velmoran
