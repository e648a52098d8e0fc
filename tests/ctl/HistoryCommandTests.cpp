// `velmoranctl history` on a file of a test's own.
#include "CtlFixture.h"

#include "core/base/Json.h"
#include "core/history/HistoryStore.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Statement.h>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran {
namespace {

using testing::Ctl;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::lines;
using ::testing::Not;
using ::testing::StartsWith;

class HistoryCommand : public Ctl {
protected:
    HistoryCommand() { zone = "Europe/Berlin"; }

    /// 22 November 2026, 10:00 in Berlin.
    static constexpr Timestamp morning{817030800};

    static UsageSession session(const std::string& name, Timestamp start,
                                std::optional<Timestamp> end, Device device = Device::camera) {
        UsageSession session;
        session.id = Uuid::random();
        session.device = device;
        session.app.id = "org.example." + name;
        session.app.name = name;
        session.start = start;
        session.end = end;
        session.observedFromStart = true;
        if (end) {
            session.outcome = SessionOutcome::endedNormally;
        }
        return session;
    }

    void store(const std::vector<UsageSession>& sessions) const {
        HistoryStore store(history());
        for (const auto& each : sessions) {
            store.saveSession(each);
        }
    }
    /// A camera and a microphone of a call, a stop, and one that nobody saw end.
    void storeADay() const {
        auto camera = session("Meet", morning, morning + 3900);
        camera.warningLevel = WarningLevel::standard;
        auto microphone = session("Meet", morning + 1, morning + 3900, Device::microphone);
        microphone.warningLevel = WarningLevel::quiet;
        microphone.app.path = "/opt/meet/meet";
        microphone.connections = {{"192.0.2.1", 443, "TCP", morning + 2}};
        auto stopped = session("Zoom", morning + 7200, morning + 7205.5);
        stopped.outcome = SessionOutcome::stoppedByUser;
        auto unclear = session("Fox", morning - 86400, {}, Device::speaker);
        unclear.outcome = SessionOutcome::endUnknown;
        unclear.observedFromStart = false;
        store({microphone, stopped, unclear, camera});
    }

    std::string said(std::vector<std::string> arguments, int status = 0) {
        arguments.insert(arguments.begin(), "history");
        auto child = ctl(arguments);
        EXPECT_EQ(child.wait(), status) << child.title() << child.errors();
        if (status == 0) {
            EXPECT_EQ(child.errors(), "") << child.title();
        }
        return child.output();
    }
    std::string complained(std::vector<std::string> arguments, int status) {
        arguments.insert(arguments.begin(), "history");
        auto child = ctl(arguments);
        EXPECT_EQ(child.wait(), status) << child.title();
        EXPECT_EQ(child.output(), "") << child.title();
        return child.errors();
    }
    /// Of the apps in the lines, in their order.
    std::vector<std::string> names(const std::vector<std::string>& arguments) {
        auto all = arguments;
        all.emplace_back("--json");
        std::vector<std::string> result;
        for (const auto& line : lines(said(all))) {
            result.push_back(Json::parse(line).at("app").at("name"));
        }
        return result;
    }
};

TEST_F(HistoryCommand, PrintsATableWithTheNewestLast) {
    storeADay();
    EXPECT_EQ(said({}), "2026-11-21 10:00:00  End not known  speaker           Fox\n"
                        "2026-11-22 10:00:00     1 h 05 min  camera   Warned   Meet\n"
                        "2026-11-22 10:00:01     1 h 04 min  mic      Trusted  Meet\n"
                        "2026-11-22 12:00:00            5 s  camera   Stopped  Zoom\n");
}

TEST_F(HistoryCommand, PrintsJsonLinesWithZones) {
    storeADay();
    const auto printed = lines(said({"--json"}));
    ASSERT_EQ(printed.size(), 4U);
    // Without the id, which is another one in each run.
    EXPECT_EQ("{" + printed[2].substr(printed[2].find("\"device\"")),
              R"({"device":"microphone","app":{"id":"org.example.Meet","name":"Meet",)"
              R"("path":"/opt/meet/meet"},"start":"2026-11-22T10:00:01.000+01:00",)"
              R"("end":"2026-11-22T11:05:00.000+01:00","seconds":3899.000,"open":false,)"
              R"("outcome":"endedNormally","warningLevel":"quiet","seenFromStart":true,)"
              R"("connections":[{"address":"192.0.2.1","port":443,"transport":"TCP",)"
              R"("firstSeen":"2026-11-22T10:00:02.000+01:00"}]})");
    auto unclear = Json::parse(printed[0]);
    unclear.erase("id");
    EXPECT_EQ(unclear.dump(), R"({"device":"speaker","app":{"id":"org.example.Fox","name":"Fox"},)"
                              R"("start":"2026-11-21T10:00:00.000+01:00","open":false,)"
                              R"("outcome":"endUnknown","seenFromStart":false,"connections":[]})");
    EXPECT_EQ(Json::parse(printed[3]).at("seconds"), 5.5);
}

TEST_F(HistoryCommand, PrintsCsvForSpreadsheets) {
    storeADay();
    auto odd = session("odd", morning + 9000, morning + 9001);
    odd.app.name = "=HYPERLINK(\"http://a\",\"Grüße\")";
    odd.app.path = "/opt/a,b\nc";
    store({odd});
    EXPECT_EQ(said({"--csv"}),
              "\xEF\xBB\xBFstart,end,seconds,device,appName,appID,appPath,outcome,warningLevel,"
              "seenFromStart\r\n"
              "2026-11-21T10:00:00+01:00,,,speaker,Fox,org.example.Fox,,endUnknown,,false\r\n"
              "2026-11-22T10:00:00+01:00,2026-11-22T11:05:00+01:00,3900.000,camera,Meet,"
              "org.example.Meet,,endedNormally,standard,true\r\n"
              "2026-11-22T10:00:01+01:00,2026-11-22T11:05:00+01:00,3899.000,microphone,Meet,"
              "org.example.Meet,/opt/meet/meet,endedNormally,quiet,true\r\n"
              "2026-11-22T12:00:00+01:00,2026-11-22T12:00:05+01:00,5.500,camera,Zoom,"
              "org.example.Zoom,,stoppedByUser,,true\r\n"
              "2026-11-22T12:30:00+01:00,2026-11-22T12:30:01+01:00,1.000,camera,"
              "\"'=HYPERLINK(\"\"http://a\"\",\"\"Grüße\"\")\",org.example.odd,\"/opt/a,b c\","
              "endedNormally,,true\r\n");
}

TEST_F(HistoryCommand, ChoosesByDeviceAndApp) {
    storeADay();
    EXPECT_THAT(names({"--device", "camera"}), ElementsAre("Meet", "Zoom"));
    EXPECT_THAT(names({"--device", "mic"}), ElementsAre("Meet"));
    EXPECT_THAT(names({"--device", "microphone", "--app", "Zoom"}), ElementsAre());
    EXPECT_THAT(names({"--app", "org.example.Zoom"}), ElementsAre("Zoom"));
    EXPECT_THAT(names({"--app", "zoom"}), ElementsAre("Zoom"));
    EXPECT_THAT(names({"--app", "/opt/meet/meet"}), ElementsAre("Meet"));
    EXPECT_EQ(said({"--app", "nobody"}), "No use matches these filters.\n");
    EXPECT_EQ(said({"--app", "nobody", "--json"}), "");
}

TEST_F(HistoryCommand, ChoosesByTimeAsTheHistoryWindowDoes) {
    storeADay();
    EXPECT_THAT(names({"--since", "2026-11-22"}), ElementsAre("Meet", "Meet", "Zoom"));
    EXPECT_THAT(names({"--until", "2026-11-22"}), ElementsAre("Fox"));
    EXPECT_THAT(names({"--since", "2026-11-22T11:00"}), ElementsAre("Meet", "Meet", "Zoom"));
    EXPECT_THAT(names({"--since", "2026-11-22T11:05"}), ElementsAre("Meet", "Meet", "Zoom"))
        << "one that ended exactly then";
    EXPECT_THAT(names({"--since", "2026-11-22T10:05:00.5Z"}), ElementsAre("Zoom"));
    EXPECT_THAT(names({"--until", "2026-11-22 10:00:01"}), ElementsAre("Fox", "Meet"))
        << "one that begins exactly then doesn't count";
    EXPECT_THAT(names({"--since", "2026-11-21", "--until", "2026-11-21T10:00:00.001"}),
                ElementsAre("Fox"));
}

TEST_F(HistoryCommand, KnowsWhatTimesOfTheDayAre) {
    const std::chrono::duration<double> unix = std::chrono::system_clock::now().time_since_epoch();
    const Timestamp now{unix.count() - secondsFromUnixEpoch};
    store({session("Old", now - 8 * 86400, now - 8 * 86400 + 1),
           session("Recent", now - 3600, now - 3599), session("New", now - 30, now - 29)});
    EXPECT_THAT(names({"--since", "7d"}), ElementsAre("Recent", "New"));
    EXPECT_THAT(names({"--since", "90m", "--until", "2m"}), ElementsAre("Recent"));
    EXPECT_THAT(names({"--until", "yesterday"}), ElementsAre("Old"));
}

TEST_F(HistoryCommand, EndsWith2ForWhatCannotBeUnderstood) {
    storeADay();
    EXPECT_EQ(complained({"--since", "soon"}, 2),
              "velmoranctl: “soon” is no time. A time is like 2026-11-22, 2026-11-22T10:00, 10:00, "
              "today, yesterday, 2h, 7d.\n");
    EXPECT_THAT(complained({"--until", "2026-02-30"}, 2), HasSubstr("is no time"));
    EXPECT_THAT(complained({"--since", "today", "--until", "yesterday"}, 2),
                HasSubstr("“yesterday” is before “today”"));
    EXPECT_THAT(complained({"--device", "keyboard"}, 2), HasSubstr("is no device"));
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"--since"},
                                                      {"--since", ""},
                                                      {"--app", ""},
                                                      {"--device", ""},
                                                      {"--json", "--csv"},
                                                      {"today"},
                                                      {"--xml"}}) {
        EXPECT_THAT(complained(arguments, 2), StartsWith("velmoranctl: "));
    }
    EXPECT_THAT(complained({"--since", "\x1b[31m"}, 2), Not(HasSubstr("\x1b")));
}

TEST_F(HistoryCommand, SaysThatThereIsNoHistoryAndMakesNone) {
    EXPECT_EQ(complained({}, 1),
              "velmoranctl: There is no history yet: " + history() + " isn't there.\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.path(".local")));
}

TEST_F(HistoryCommand, SaysWhyTheHistoryCannotBeRead) {
    folder_.write(".local/share/Velmoran/History.store",
                  "This is not a database at all, but it is long enough for one to be read: a "
                  "hundred bytes and more.");
    EXPECT_EQ(complained({}, 1),
              "velmoranctl: The history can't be read: " + history() + ": not a database\n");
}

TEST_F(HistoryCommand, ReadsBesideWhoeverKeepsTheHistory) {
    HistoryStore open(history());
    auto running = session("Running", morning, {});
    open.saveSession(running);
    const auto files = [this] {
        std::vector<std::string> result;
        for (const auto* ending : {"", "-wal", "-shm"}) {
            result.push_back(support::readFile(history() + ending));
        }
        return result;
    };
    const auto before = files();
    // Nobody has said that it goes on.
    EXPECT_THAT(said({}), HasSubstr("End not known"));
    EXPECT_TRUE(files() == before) << "no byte of them was written";
    // As the running program keeps it.
    const int lock = ::open((history() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(lock, LOCK_EX | LOCK_NB), 0);
    const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
    auto child = ctl({"--velmoran", self, "history"});
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.output(), "2026-11-22 10:00:00       Still on  camera            Running\n");
    auto csv = ctl({"--velmoran", self, "history", "--csv", "--since", "2026-12-01"});
    EXPECT_EQ(csv.wait(), 0);
    EXPECT_EQ(lines(csv.output()).size(),
              std::chrono::system_clock::now() >
                      std::chrono::sys_days(std::chrono::year(2026) / 12 / 1)
                  ? 2U
                  : 1U);
    ::close(lock);
    open.saveSession(session("Later", morning + 1, morning + 2));
    EXPECT_FALSE(open.failure());
}

TEST_F(HistoryCommand, ShowsNamesThatATerminalWouldObey) {
    auto evil = session("x", morning, morning + 1);
    evil.app.name = "\x1b]0;owned\x07"
                    "Zoom\r\n2026-11-22 10:00:00\xE2\x80\xAE"
                    "gpj\xC2\x9B"
                    "2J";
    auto broken = session("y", morning + 1, morning + 2);
    broken.app.name = "a\xFF"
                      "b";
    auto endless = session("z", morning + 2, morning + 3);
    endless.app.name = std::string(10'000, 'x');
    store({evil, broken, endless});
    for (const std::vector<std::string>& form :
         {std::vector<std::string>{}, {"--json"}, {"--csv"}}) {
        const auto text = said(form);
        EXPECT_EQ(lines(text).size(), form == std::vector<std::string>{"--csv"} ? 4U : 3U);
        for (const auto* obeyed : {"\x1b", "\x07", "\xE2\x80\xAE", "\xC2\x9B", "\xFF"}) {
            EXPECT_THAT(text, Not(HasSubstr(obeyed)));
        }
    }
    EXPECT_THAT(said({}), HasSubstr("a\xEF\xBF\xBD"
                                    "b\n"));
    EXPECT_LT(lines(said({}))[2].size(), 200U);
    EXPECT_EQ(Json::parse(lines(said({"--json"}))[0]).at("app").at("name"), evil.app.name);
    EXPECT_EQ(Json::parse(lines(said({"--json"}))[2]).at("app").at("name"), endless.app.name);
}

TEST_F(HistoryCommand, ShowsNumbersThatAreNoTimes) {
    storeADay();
    SQLite::Database(history(), SQLite::OPEN_READWRITE)
        .exec(
            "UPDATE SessionRecord SET start = -9e999 WHERE appName = 'Zoom'; UPDATE SessionRecord "
            "SET start = 9e999, end = -9e999 WHERE deviceRaw = 'speaker'; UPDATE SessionRecord "
            "SET start = 1e300, end = 2e300 WHERE deviceRaw = 'microphone'");
    EXPECT_EQ(lines(said({})).size(), 4U);
    EXPECT_EQ(lines(said({"--csv"})).size(), 5U);
    for (const auto& line : lines(said({"--json"}))) {
        EXPECT_TRUE(Json::parse(line).contains("start"));
    }
}

TEST_F(HistoryCommand, SaysThatItsOutputCannotBeWritten) {
    std::vector<UsageSession> many;
    for (int i = 0; i < 3000; ++i) {
        many.push_back(session("App", morning + i, morning + i + 0.5));
    }
    store(many);
    for (const auto* form : {"", " --json", " --csv"}) {
        auto full =
            start({"/bin/sh", "-c", VELMORANCTL " history" + std::string(form) + " > /dev/full"});
        EXPECT_EQ(full.wait(), 4) << form;
        EXPECT_EQ(full.errors(),
                  "velmoranctl: the output can't be written: No space left on device\n");
        auto closed = start({"/bin/sh", "-c", VELMORANCTL " history" + std::string(form) + " >&-"});
        EXPECT_EQ(closed.wait(), 4) << form;
        auto gone = start(
            {"/bin/bash", "-c",
             VELMORANCTL " history" + std::string(form) + " | head -n 1; exit ${PIPESTATUS[0]}"});
        EXPECT_EQ(gone.wait(), 4) << form;
        EXPECT_EQ(gone.errors(), "") << "whoever reads the first lines has what he wanted";
        EXPECT_EQ(lines(gone.output()).size(), 1U);
    }
}

TEST_F(HistoryCommand, StreamsMoreThanItHoldsAtATime) {
    {
        // As the store would write them, one transaction for all.
        store({session("App", morning, morning + 1)});
        SQLite::Database file(history(), SQLite::OPEN_READWRITE);
        file.exec(
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 20000) "
            "INSERT INTO SessionRecord (id, deviceRaw, appID, appName, start, end, outcomeRaw, "
            "observedFromStart) SELECT printf('%08X-0000-4000-8000-000000000000', i), "
            "'camera', 'a', 'App', 817030800 + i, 817030800.5 + i, 'endedNormally', 1 FROM n");
    }
    const auto printed = lines(said({}));
    EXPECT_EQ(printed.size(), 20'001U);
    EXPECT_TRUE(std::ranges::is_sorted(printed));
}

// What docs/privacy.md tells people to ask the database itself.
TEST_F(HistoryCommand, AgreesWithTheQueryInTheDocumentation) {
    auto summer = session("Summer", {204937200}, Timestamp{204937203.5});
    auto winter = session("Winter", morning, {}, Device::microphone);
    store({winter, summer});
    const auto page =
        support::readFile(std::filesystem::path(VELMORAN_SOURCE_DIR) / "docs/privacy.md");
    const auto begin = page.find("\"SELECT datetime(");
    ASSERT_NE(begin, std::string::npos);
    const auto query = page.substr(begin + 1, page.find('"', begin + 1) - begin - 1);
    ASSERT_EQ(::setenv("TZ", zone.c_str(), 1), 0);
    ::tzset();
    SQLite::Database file(history());
    SQLite::Statement rows(file, query);
    std::vector<std::string> told;
    while (rows.executeStep()) {
        told.push_back(rows.getColumn(0).getString() + "|" + rows.getColumn(1).getString() + "|" +
                       rows.getColumn(2).getString() + "|" + rows.getColumn(3).getString());
    }
    EXPECT_THAT(told, ElementsAre("2007-07-01 01:00:00|2007-07-01 01:00:03|camera|Summer",
                                  "2026-11-22 10:00:00||microphone|Winter"));
    EXPECT_THAT(said({}), StartsWith("2007-07-01 01:00:00 "));
}

} // namespace
} // namespace velmoran
