#include "HistoryTools.h"
#include "core/history/PendingSessions.h"

#include <algorithm>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<Uuid> idsOf(PendingSessions& pending) {
    std::vector<Uuid> ids;
    for (const auto& each : pending) {
        ids.push_back(each.session.id);
    }
    return ids;
}

UsageSession talkative(unsigned number, std::size_t peers) {
    auto session = sessionNumber(number, number);
    session.connections.assign(peers, {"2001:db8:0:1:2:3:4:5", 443, "TCP", Timestamp{1}});
    return session;
}

/// With a name of a quarter of all that may wait, as it counts.
UsageSession longNamed(unsigned number) {
    auto session = sessionNumber(number, number);
    session.app.name = std::string(PendingSessions::mostBytes / 8, 'n');
    return session;
}

TEST(PendingSessions, WaitInTheOrderInWhichTheyBegan) {
    PendingSessions pending;
    for (const unsigned number : {3U, 1U, 2U, 1U, 3U}) {
        EXPECT_THAT(pending.add(sessionNumber(number, 10)), IsEmpty());
    }
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(3), idNumber(1), idNumber(2)));
    pending.postpone(pending.begin());
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(1), idNumber(2), idNumber(3)));
    pending.erase(std::next(pending.begin()));
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(1), idNumber(3)));
    EXPECT_EQ(pending.find(idNumber(2)), nullptr);
    ASSERT_NE(pending.find(idNumber(3)), nullptr);
    EXPECT_EQ(pending.find(idNumber(3))->session, sessionNumber(3, 10));
    pending.clear();
    EXPECT_TRUE(pending.empty());
    EXPECT_EQ(pending.find(idNumber(3)), nullptr);
}

TEST(PendingSessions, KeepTheLastThatWasSaid) {
    PendingSessions pending;
    pending.add(sessionNumber(1, 10));
    pending.begin()->isShownAsItIs = true;
    pending.add(endedSession(1, 10, 20));
    ASSERT_EQ(pending.size(), 1U);
    EXPECT_EQ(pending.begin()->session, endedSession(1, 10, 20));
    EXPECT_FALSE(pending.begin()->isShownAsItIs);
}

TEST(PendingSessions, LoseTheDetailsOfTheOldestFirst) {
    PendingSessions pending;
    const auto peers = PendingSessions::mostBytes / 4 / 75 / 3; // a good third of all
    for (const unsigned number : {1U, 2U, 3U}) {
        EXPECT_THAT(pending.add(talkative(number, peers)), IsEmpty());
    }
    ASSERT_EQ(pending.size(), 3U);
    auto entry = pending.begin();
    EXPECT_TRUE(entry->lacksConnections);
    EXPECT_FALSE(entry->connections);
    EXPECT_EQ(entry->session, sessionNumber(1, 1)) << "start and end stay";
    EXPECT_TRUE((++entry)->connections);
    EXPECT_TRUE((++entry)->connections);

    // Said again, they are there again, and it is another's turn.
    pending.add(talkative(1, peers));
    EXPECT_FALSE(pending.find(idNumber(1))->connections);
    pending.erase(std::next(pending.begin()));
    pending.add(talkative(1, peers));
    EXPECT_TRUE(pending.find(idNumber(1))->connections);
    EXPECT_FALSE(pending.find(idNumber(1))->lacksConnections);
}

TEST(PendingSessions, LoseTheOldestLast) {
    PendingSessions pending;
    pending.add(longNamed(1));
    pending.begin()->shown = HistoryView::Place{{1}, 77};
    for (const unsigned number : {2U, 3U}) {
        EXPECT_THAT(pending.add(longNamed(number)), IsEmpty());
    }
    const auto gone = pending.add(longNamed(4));
    ASSERT_EQ(gone.size(), 1U);
    EXPECT_EQ(gone.front().row, 77);
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(2), idNumber(3), idNumber(4)));

    // Not the last, however long it is.
    auto endless = longNamed(5);
    endless.app.name.assign(PendingSessions::mostBytes, 'n');
    pending.add(endless);
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(5)));
}

TEST(PendingSessions, LoseNothingOfTheOnlyOne) {
    PendingSessions pending;
    const auto session = talkative(1, PendingSessions::mostBytes / 100);
    pending.add(session);
    ASSERT_TRUE(pending.begin()->connections);
    EXPECT_GT(pending.begin()->connections->size(), PendingSessions::mostBytes / 4);
    EXPECT_FALSE(pending.begin()->lacksConnections);
}

TEST(PendingSessions, AreThousandsOfOrdinaryOnes) {
    PendingSessions pending;
    for (unsigned number = 1; number <= 50000; ++number) {
        pending.add(endedSession(number, number, number + 1));
    }
    EXPECT_GT(pending.size(), 5000U);
    EXPECT_LT(pending.size(), 50000U);
    EXPECT_EQ(pending.find(idNumber(1)), nullptr);
    ASSERT_NE(pending.find(idNumber(50000)), nullptr);
    EXPECT_EQ(pending.find(idNumber(50000))->session, endedSession(50000, 50000, 50001));
}

TEST(PendingSessions, GoByTheirStart) {
    PendingSessions pending;
    for (const unsigned number : {5U, 1U, 4U, 2U}) {
        pending.add(sessionNumber(number, number));
    }
    pending.eraseStartsBefore({4});
    EXPECT_THAT(idsOf(pending), ElementsAre(idNumber(5), idNumber(4)));
}

} // namespace
} // namespace velmoran
