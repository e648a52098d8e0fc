#include "system/linux/clients/ConnectionReadings.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

TEST(ConnectionReadings, LeaveTheOneThatNobodyElseCanHave) {
    EXPECT_EQ(readingsOf({{1, {10}}, {2, {10, 11}}, {3, {10, 11, 12}}}),
              (EndsOfClients{{1, {10}}, {2, {11}}, {3, {12}}}));
}

TEST(ConnectionReadings, LeaveTheOneBesideTwoThatCannotBeToldApart) {
    EXPECT_EQ(readingsOf({{1, {10, 11}}, {2, {10, 11}}, {3, {10, 11, 12}}}),
              (EndsOfClients{{1, {10, 11}}, {2, {10, 11}}, {3, {12}}}));
}

TEST(ConnectionReadings, LeaveAllWhereOneMoreIsThere) {
    EXPECT_EQ(readingsOf({{1, {10}}, {2, {10, 11, 12}}}),
              (EndsOfClients{{1, {10}}, {2, {11, 12}}}));
}

TEST(ConnectionReadings, AreNoneWhereOneIsTooFew) {
    EXPECT_EQ(readingsOf({{1, {10}}, {2, {10}}}), std::nullopt);
    EXPECT_EQ(readingsOf({{1, {}}}), std::nullopt);
    EXPECT_EQ(readingsOf({}), EndsOfClients());
}

// What is reached only by moving several others.
TEST(ConnectionReadings, FollowAChain) {
    EXPECT_EQ(readingsOf({{1, {10, 11}}, {2, {11, 12}}, {3, {12, 13}}, {4, {13}}}),
              (EndsOfClients{{1, {10}}, {2, {11}}, {3, {12}}, {4, {13}}}));
    EXPECT_EQ(readingsOf({{1, {10, 11}}, {2, {11, 12}}, {3, {12, 10}}}),
              (EndsOfClients{{1, {10, 11}}, {2, {11, 12}}, {3, {12, 10}}}));
}

TEST(ConnectionReadings, AreSoonFoundForAsManyClientsAsAServerTakes) {
    EndsOfClients clients;
    Ends all;
    for (std::uint64_t number = 0; number < 64; ++number) {
        all.push_back(number);
    }
    for (ClientKey client = 0; client < 64; ++client) {
        clients[client] = all;
    }
    EXPECT_EQ(readingsOf(clients), clients);
}

} // namespace
} // namespace velmoran
