#include "tests/system/linux/clients/ClientScene.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using testing::nativeSocket;
using testing::pulseSocket;
using testing::server;

using ClientIdentityOf = testing::ClientScene;

TEST_F(ClientIdentityOf, ANativeClientIsTheProcessThatConnected) {
    comesNatively(1, 10);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(identity.who(1).pid, 10);
}

TEST_F(ClientIdentityOf, ANativeClientThatIsGoneKeepsItsName) {
    const auto end = comesNatively(1, 10);
    table.hangUp(end);
    naming.fake.paths[10] = "/bin/somebody-else";
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, AConnectionThatWasHandedOnIsItsHolders) {
    const auto end = comesNatively(1, 10);
    table.give(end, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/11");
    EXPECT_EQ(identity.who(1).pid, 11);
}

TEST_F(ClientIdentityOf, AConnectionOfTwoAppsCannotBeTold) {
    const auto end = comesNatively(1, 10);
    table.give(end, 10, 11, true);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_EQ(identity.who(1).pid, 0);
}

TEST_F(ClientIdentityOf, AConnectionOfTwoProcessesOfOneAppIsThatApps) {
    const auto end = comesNatively(1, 10);
    naming.fake.paths[11] = "/bin/10";
    table.give(end, 10, 11, true);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(identity.who(1).pid, 10);
}

TEST_F(ClientIdentityOf, AConnectionThatWentToSomebodyHiddenCannotBeTold) {
    const auto end = comesNatively(1, 10);
    table.hidden.insert(11);
    table.give(end, 10, 11, false);
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ClientIdentityOf, AGiverWithAConnectionOfItsOwnIsNotTakenForTheUser) {
    // A portal: its own connection, and one that it opened for an app before this program came.
    table.connect(10, nativeSocket);
    const auto given = table.connect(10, nativeSocket);
    table.give(given, 10, 11, false);
    identity.appeared(1, 10, false);
    identity.appeared(2, 10, false);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
}

// As a portal that waits for cameras, and has opened a connection for an app: each says of itself
// what it is, the app over the connection that it was given.
TEST_F(ClientIdentityOf, AGiverThatWasThereBeforeIsToldApartByTheWordsOfBoth) {
    for (const auto pid : {10, 11}) {
        table.puppets.clear();
        identity.clear();
        table.all.clear();
        table.sockets.clear();
        table.connect(10, nativeSocket);
        const auto given = table.connect(10, nativeSocket);
        table.give(given, 10, 11, false);
        identity.appeared(1, 10, false);
        identity.appeared(2, 10, false);
        identity.described(1, 10, false);
        identity.described(2, 11, false);
        identity.pictureCompleted();
        EXPECT_EQ(name(2), "/bin/11");
        EXPECT_EQ(name(1), "/bin/10");

        // Not by the words of one who says what others want.
        identity.clear();
        table.puppets = {pid};
        identity.appeared(1, 10, false);
        identity.appeared(2, 10, false);
        identity.described(1, 10, false);
        identity.described(2, 11, false);
        identity.pictureCompleted();
        EXPECT_TRUE(isUnknown(name(pid == 10 ? 1 : 2)));
    }
}

TEST_F(ClientIdentityOf, AConnectionThatIsHandedOnLaterIsFollowedFromTheFirstPictureOn) {
    const auto end = table.connect(10, nativeSocket);
    identity.appeared(1, 10, false);
    identity.described(1, 10, false);
    identity.pictureCompleted();
    table.connect(10, nativeSocket); // so that it isn't the only one that is left
    table.give(end, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/11");
}

TEST_F(ClientIdentityOf, OneOfTwoConnectionsThatIsHandedOnLaterIsToldByTheNewWord) {
    table.connect(10, nativeSocket);
    const auto given = table.connect(10, nativeSocket);
    for (const ClientKey client : {1, 2}) {
        identity.appeared(client, 10, false);
        identity.described(client, 10, false);
    }
    identity.pictureCompleted();
    table.give(given, 10, 11, false);
    identity.described(2, 11, false);
    EXPECT_EQ(name(2), "/bin/11");
}

// Who gives can have spoken before, over what he gives.
TEST_F(ClientIdentityOf, AnHeirIsNotBlamedForWhatTheGiverSaysOverTheOther) {
    for (const ClientKey first : {1, 2}) {
        identity.clear();
        table.all.clear();
        table.sockets.clear();
        table.connect(10, nativeSocket);
        const auto given = table.connect(10, nativeSocket);
        table.bequeath(given, 10, 11, false);
        identity.appeared(1, 10, false);
        identity.appeared(2, 10, false);
        identity.described(1, 11, false);
        identity.described(2, 10, false);
        identity.pictureCompleted();
        EXPECT_NE(name(first), "/bin/11");
        EXPECT_NE(name(3 - first), "/bin/11");
    }
}

TEST_F(ClientIdentityOf, TwoHoldersOfAConnectionFromBeforeCannotBeTold) {
    const auto end = table.connect(10, nativeSocket);
    identity.appeared(1, 10, false);
    identity.described(1, 11, false);
    identity.pictureCompleted();
    table.give(end, 10, 11, true);
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ClientIdentityOf, AnHeirMayNotBeAloneWhereSomebodyCannotBeLookedAt) {
    const auto end = comesNatively(1, 10);
    table.hidden.insert(12);
    table.bequeath(end, 10, 11, false);
    EXPECT_TRUE(isUnknown(name(1)));
    const auto other = table.connect(20, pulseSocket);
    table.bequeath(other, 20, 21, false);
    isServed(2, 21);
    EXPECT_TRUE(isUnknown(name(2)));
    table.hidden.clear();
    table.connect(30, nativeSocket);
    const auto third = comesNatively(3, 10);
    table.bequeath(third, 10, 11, false);
    EXPECT_EQ(name(3), "/bin/11");
}

TEST_F(ClientIdentityOf, AGiverThatWasSeenToGiveIsToldApart) {
    comesNatively(1, 10);
    const auto given = comesNatively(2, 10);
    table.give(given, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/10");
    EXPECT_EQ(name(2), "/bin/11");
}

// 10 has a connection of another's instead of its own, which somebody else uses.
TEST_F(ClientIdentityOf, WhoHoldsAnothersConnectionSinceBeforeIsNotTakenForItsOwnersClient) {
    for (const bool isHidden : {false, true}) {
        identity.clear();
        table.all.clear();
        table.sockets.clear();
        table.hidden.clear();
        const auto other = table.connect(20, nativeSocket);
        table.connect(20, nativeSocket);
        const auto own = table.connect(10, nativeSocket);
        table.give(other, 20, 10, false);
        table.give(own, 10, 30, false);
        if (isHidden) {
            table.hidden.insert(30);
        }
        identity.appeared(1, 10, false);
        identity.described(1, 10, false);
        identity.pictureCompleted();
        EXPECT_TRUE(isUnknown(name(1)));
    }
}

// Two change connections, so that nobody has more than he had, and one of them starts a program in
// his own place.
TEST_F(ClientIdentityOf, AProgramThatWasStartedWithAnotherConnectionIsNotBlamedForTheFirst) {
    for (const bool isNew : {false, true}) {
        identity.clear();
        table.all.clear();
        table.sockets.clear();
        table.inherited.clear();
        const auto own = table.connect(10, nativeSocket);
        const auto other = table.connect(20, nativeSocket);
        table.bequeath(other, 20, 10, false);
        table.give(own, 10, 20, false);
        for (const ClientKey client : {1, 2}) {
            identity.appeared(client, client == 1 ? 10 : 20, isNew);
            identity.described(client, 10, false);
        }
        identity.pictureCompleted();
        EXPECT_NE(name(1), "/bin/10");
    }
}

TEST_F(ClientIdentityOf, ANewClientHasOneOfThoseThatItsProcessHeldWhenItCame) {
    const auto other = table.connect(20, nativeSocket);
    table.connect(20, nativeSocket);
    identity.appeared(2, 20, true);
    identity.appeared(3, 20, true);
    const auto own = table.connect(10, nativeSocket);
    table.give(other, 20, 10, false);
    identity.appeared(1, 10, true);
    identity.described(1, 10, false);
    table.give(own, 10, 20, false);
    EXPECT_TRUE(isUnknown(name(1))) << "each has as many as were announced for him";
}

TEST_F(ClientIdentityOf, AProcessThatIsGoneIsNotBlamedForWhatSomebodyElseHolds) {
    const auto end = table.connect(10, nativeSocket);
    table.give(end, 10, 30, false);
    identity.appeared(1, 10, false);
    identity.described(1, 10, false);
    identity.pictureCompleted();
    table.sockets.erase(10);
    EXPECT_EQ(name(1), "/bin/30");
}

// Whoever ran in its process before has handed on a connection, over which he says that he is it.
TEST_F(ClientIdentityOf, NobodyIsBlamedByTheWordsOfOthersBeforeHeHasSpoken) {
    const auto end = table.connect(10, nativeSocket);
    table.give(end, 10, 30, false);
    table.connect(10, nativeSocket);
    identity.appeared(1, 10, false);
    identity.appeared(2, 10, false);
    identity.described(1, 10, false);
    identity.pictureCompleted();
    EXPECT_TRUE(isUnknown(name(1)));
    identity.described(2, 10, false);
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ClientIdentityOf, OthersFromBeforeAreToldApartFromAGiverAndHisApp) {
    const auto given = table.connect(10, nativeSocket);
    table.connect(10, nativeSocket);
    table.give(given, 10, 11, false);
    table.connect(12, nativeSocket);
    for (const ClientKey client : {1, 2, 3}) {
        identity.appeared(client, client == 3 ? 12 : 10, false);
        identity.described(client, static_cast<pid_t>(9 + client), false);
    }
    identity.pictureCompleted();
    EXPECT_EQ(name(3), "/bin/12");
    EXPECT_EQ(name(2), "/bin/11");
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, AllThatWereThereBeforeAreLookedAtTogether) {
    for (ClientKey client = 1; client <= 50; ++client) {
        comesNatively(client, static_cast<pid_t>(10 + client), false);
    }
    table.dumps = table.looks = table.walks = 0;
    identity.pictureCompleted();
    EXPECT_EQ(table.dumps, 1);
    EXPECT_LE(table.looks, 50);
    EXPECT_EQ(table.walks, 1);
    identity.pictureCompleted();
    EXPECT_EQ(table.walks, 1) << "all are known";
    const auto given = table.all.back().clientEnd;
    table.give(given, 60, 70, false);
    EXPECT_EQ(name(50), "/bin/70");
}

TEST_F(ClientIdentityOf, AHiddenNativeClientIsUnknownUnderItsProcessId) {
    table.hidden.insert(10);
    comesNatively(1, 10);
    EXPECT_EQ(name(1), "unidentified:10");
}

TEST_F(ClientIdentityOf, ANativeClientIsNamedWhereTheKernelSaysNoMore) {
    identity.appeared(1, 10, true);
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, AClientWithoutAProcessIsUnknown) {
    identity.appeared(1, std::nullopt, true);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(identity.who(77).app.id()));
    EXPECT_NE(identity.who(1).app, identity.who(77).app);
}

TEST_F(ClientIdentityOf, ANameStaysOnceAStreamWasOpened) {
    const auto end = comesNatively(1, 10);
    EXPECT_EQ(name(1), "/bin/10");
    table.give(end, 10, 11, false);
    EXPECT_EQ(name(1), "/bin/10");
}

TEST_F(ClientIdentityOf, IsReadyOnceItIsKnownWhomAServerConnectedFor) {
    identity.appeared(1, 10, true);
    EXPECT_TRUE(identity.isReady(1));
    identity.appeared(2, server, true);
    EXPECT_FALSE(identity.isReady(2));
    identity.described(2, 20, true);
    EXPECT_TRUE(identity.isReady(2));
}

TEST_F(ClientIdentityOf, AKnownClientStaysWhenTheReaderConnectsAnew) {
    comesNatively(1, 10);
    EXPECT_EQ(name(1), "/bin/10");
    table.sockets[10].clear();
    identity.appeared(1, 20, false);
    identity.described(1, 20, false);
    EXPECT_EQ(name(1), "/bin/10");
    comesNatively(2, 30);
    identity.keepOnly({2});
    EXPECT_TRUE(isUnknown(name(1))) << "it has left meanwhile";
    EXPECT_EQ(name(2), "/bin/30");
}

} // namespace
} // namespace velmoran
