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
