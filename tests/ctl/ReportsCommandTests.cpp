// `velmoranctl reports` on a file of a test's own.
#include "CtlFixture.h"

#include "core/away/AwayReport.h"
#include "core/base/Json.h"
#include "core/history/HistoryStore.h"

#include <gmock/gmock.h>
#include <memory>

namespace velmoran {
namespace {

using testing::Ctl;
using ::testing::HasSubstr;
using testing::lines;
using ::testing::SizeIs;

class ReportsCommand : public Ctl {
protected:
    ReportsCommand() { zone = "Europe/Berlin"; }

    /// 22 November 2026, 10:00 in Berlin.
    static constexpr Timestamp morning{817030800};

    static AwayEvent event(Timestamp time, AwayEventKind kind = AwayEventKind::keyboardUsed,
                           std::optional<std::string> detail = {}) {
        return {.id = Uuid::random(), .kind = kind, .time = time, .detail = std::move(detail)};
    }
    static AwayReport report(Timestamp start, std::vector<AwayEvent> events) {
        AwayReport report;
        report.id = Uuid::random();
        report.start = start;
        report.end = start + 600;
        report.events = std::move(events);
        return report;
    }
    static void save(HistoryStore& store, const AwayReport& report) {
        store.saveAwayReport(report.id, report.start, report.end, report);
    }
    void save(const std::vector<AwayReport>& reports) const {
        HistoryStore store(history());
        for (const auto& each : reports) {
            save(store, each);
        }
    }
    static AwayReport fullReport() {
        auto full = report(
            morning, {event(morning + 60),
                      event(morning + 120, AwayEventKind::devicePluggedIn, "Ultra \x1b[31m")});
        full.ownReturn = {event(morning + 595, AwayEventKind::lidOpened)};
        full.slept = true;
        return full;
    }

    std::string said(const std::vector<std::string>& arguments = {}) {
        std::vector<std::string> all = {"reports"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        auto child = ctl(all);
        EXPECT_EQ(child.wait(), 0) << child.title() << child.errors();
        EXPECT_EQ(child.errors(), "");
        return child.output();
    }
};

TEST_F(ReportsCommand, PrintsEachWithTheNewestLast) {
    save({report(morning + 86400, {event(morning + 86401, AwayEventKind::cameraUsed, "Zoom")}),
          fullReport()});
    EXPECT_EQ(
        said(),
        "Away watch was on from 2026-11-22 10:00:00 to 2026-11-22 10:10:00.\n"
        "  2026-11-22 10:01:00  Keyboard used\n"
        "  2026-11-22 10:02:00  Device plugged in: Ultra  [31m\n"
        "  2026-11-22 10:09:55  Lid opened (just before you unlocked)\n"
        "  The camera and microphone were not used.\n"
        "  What happened in the last seconds before you unlocked is probably you. It is listed, "
        "but doesn't count as something that happened.\n"
        "  Velmoran can't notice anything while the computer is asleep.\n"
        "\n"
        "Away watch was on from 2026-11-23 10:00:00 to 2026-11-23 10:10:00.\n"
        "  2026-11-23 10:00:01  Zoom turned on the camera\n");
}

TEST_F(ReportsCommand, PrintsJsonLinesWithZones) {
    const auto full = fullReport();
    save({full});
    const auto printed = lines(said({"--json"}));
    ASSERT_THAT(printed, SizeIs(1));
    EXPECT_EQ(printed[0].find('\x1b'), std::string::npos);
    const auto json = Json::parse(printed[0]);
    EXPECT_EQ(json.at("id"), full.id.text());
    EXPECT_EQ(json.at("start"), "2026-11-22T10:00:00.000+01:00");
    EXPECT_EQ(json.at("end"), "2026-11-22T10:10:00.000+01:00");
    EXPECT_EQ(json.at("slept"), true);
    ASSERT_THAT(json.at("events"), SizeIs(2));
    auto plugged = json.at("events").at(1);
    plugged.erase("id");
    EXPECT_EQ(plugged, Json({{"kind", "devicePluggedIn"},
                             {"time", "2026-11-22T10:02:00.000+01:00"},
                             {"detail", "Ultra \x1b[31m"},
                             {"title", "Device plugged in: Ultra \x1b[31m"}}));
    EXPECT_FALSE(json.at("events").at(0).contains("detail"));
    ASSERT_THAT(json.at("ownReturn"), SizeIs(1));
    EXPECT_EQ(json.at("ownReturn").at(0).at("kind"), "lidOpened");
}

TEST_F(ReportsCommand, LeavesOutWhatTheWindowDoesNotList) {
    auto unfinished = report(morning + 1000, {event(morning + 1001)});
    unfinished.end.reset();
    auto empty = report(morning + 2000, {});
    empty.ownReturn = {event(morning + 2001)};
    save({unfinished, empty});
    {
        HistoryStore store(history());
        store.saveAwayPayload(Uuid::random(), morning, {}, "{\"events\": 3}");
        EXPECT_EQ(said(), "No Away watch reports yet\n");
        EXPECT_EQ(said({"--json"}), "");
        save(store, report(morning, {event(morning + 1)}));
    }
    EXPECT_THAT(lines(said({"--json"})), SizeIs(1));
}

TEST_F(ReportsCommand, SaysThatThereIsNoHistory) {
    auto child = ctl({"reports"});
    EXPECT_EQ(child.wait(), 1);
    EXPECT_EQ(child.output(), "");
    EXPECT_THAT(child.errors(), HasSubstr("There is no history yet: "));
    save({});
    folder_.write(".local/share/Velmoran/History.store", "nothing that a database begins with");
    auto other = ctl({"reports"});
    EXPECT_EQ(other.wait(), 1);
    EXPECT_THAT(other.errors(), HasSubstr("The history can't be read: "));
}

} // namespace
} // namespace velmoran
