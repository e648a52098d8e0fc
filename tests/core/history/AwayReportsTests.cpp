#include "core/history/HistoryStore.h"

#include "HistoryTools.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

struct Note {
    std::string text;
    double start = 0;
    bool operator==(const Note&) const = default;
};
void to_json(Json& json, const Note& note) {
    if (note.text == "unwritable") {
        throw std::runtime_error("no JSON for this");
    }
    json = {{"text", note.text}, {"start", note.start}};
}
void from_json(const Json& json, Note& note) {
    note.text = required<std::string>(json, "text");
    note.start = required<double>(json, "start");
}

TEST(AwayReports, GivesAwayReportsNewestStartFirst) {
    const HistoryFile file;
    auto store = file.open();
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"early", 100});
    store.saveAwayReport(idNumber(2), {300}, Timestamp{310}, Note{"late", 300});
    store.saveAwayReport(idNumber(3), {200}, Timestamp{210}, Note{"middle", 200});
    const std::vector<Note> expected = {{"late", 300}, {"middle", 200}, {"early", 100}};
    EXPECT_EQ(store.awayReports<Note>(), expected);
    EXPECT_EQ(file.open().awayReports<Note>(), expected);
    EXPECT_EQ(file.value("SELECT payload FROM AwayReportRecord WHERE start = 200"),
              R"({"text":"middle","start":200.0})");
}

TEST(AwayReports, KeepsTheFirstStartOfAReportWhileItsPayloadChanges) {
    const HistoryFile file;
    auto store = file.open();
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"first", 100});
    store.saveAwayReport(idNumber(1), {150}, Timestamp{160}, Note{"second", 150});
    EXPECT_EQ(store.awayReports<Note>(), (std::vector<Note>{{"second", 150}}));
    EXPECT_EQ(file.value("SELECT start FROM AwayReportRecord"), "100.0");
    EXPECT_EQ(file.value("SELECT end FROM AwayReportRecord"), "160.0");
    EXPECT_EQ(file.value("SELECT count(*) FROM AwayReportRecord"), "1");
    store.saveAwayReport(idNumber(1), {150}, {}, Note{"third", 150});
    EXPECT_EQ(file.value("SELECT end FROM AwayReportRecord"), "null");
}

TEST(AwayReports, StoresNothingOfAReportThatCannotBeEncoded) {
    HistoryStore store{std::nullopt};
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"kept", 100});
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"unwritable", 100});
    store.saveAwayReport(idNumber(2), {100}, {}, Note{"unwritable", 100});
    EXPECT_EQ(store.awayReports<Note>(), (std::vector<Note>{{"kept", 100}}));
}

TEST(AwayReports, LeavesOutReportsThatDoNotDecodeAndKeepsThem) {
    const HistoryFile file;
    auto store = file.open();
    store.saveAwayPayload(idNumber(1), {100}, {}, R"({"text":1})");
    store.saveAwayPayload(idNumber(2), {200}, {}, "nonsense");
    store.saveAwayPayload(idNumber(3), {300}, {}, "");
    store.saveAwayReport(idNumber(4), {50}, {}, Note{"good", 50});
    EXPECT_EQ(store.awayReports<Note>(), (std::vector<Note>{{"good", 50}}));
    EXPECT_EQ(file.value("SELECT count(*) FROM AwayReportRecord"), "4");
}

TEST(AwayReports, DeletesOneReportByItsId) {
    HistoryStore store{std::nullopt};
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"one", 100});
    store.saveAwayReport(idNumber(2), {200}, {}, Note{"two", 200});
    store.deleteAwayReport(idNumber(2));
    store.deleteAwayReport(idNumber(7));
    EXPECT_EQ(store.awayReports<Note>(), (std::vector<Note>{{"one", 100}}));
}

TEST(AwayReports, HandsOutTheSameReportTextsUntilOneChanges) {
    HistoryStore store{std::nullopt};
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"one", 100});
    const auto texts = store.awayPayloads();
    store.saveSession(sessionNumber(1, 1));
    store.prune({50});
    EXPECT_EQ(store.awayPayloads(), texts);
    store.saveAwayReport(idNumber(1), {100}, {}, Note{"two", 100});
    EXPECT_NE(store.awayPayloads(), texts);
}

} // namespace
} // namespace velmoran
