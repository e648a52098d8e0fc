#include "tests/system/linux/clients/ClientScene.h"

#include <gtest/gtest.h>

#include <unistd.h>

namespace velmoran {
namespace {

using testing::pulseSocket;
using testing::server;

using ServedClientsOf = testing::ClientScene;

TEST_F(ServedClientsOf, APulseClientIsWhoeverAloneCanBeIt) {
    table.connect(20, pulseSocket);
    identity.appeared(1, server, true);
    identity.described(1, 1, true);
    EXPECT_TRUE(isUnknown(name(1))) << "its own may be closed already";
    EXPECT_EQ(laterName(1), "/bin/20");
}

TEST_F(ServedClientsOf, PulseClientsThatAreThereAlreadyAreWhoTheySayTheyAre) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 21, false);
    isServed(2, 20, false);
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_EQ(name(2), "/bin/20");
}

TEST_F(ServedClientsOf, APulseLiarAmongOthersIsTheOneThatIsLeft) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    table.connect(21, pulseSocket);
    isServed(2, 20);
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(laterName(2), "/bin/21");
}

TEST_F(ServedClientsOf, TwoPulseLiarsAreNamedByTheirConnectionsOrNotAtAll) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 1);
    isServed(2, 1);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
    EXPECT_NE(name(1), name(2));
}

TEST_F(ServedClientsOf, ALiarThatTakesTheNameOfOneThatIsJustComingGivesItToNeither) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket); // the liar's, and it is the first to speak
    isServed(2, 20);
    isServed(1, 20);
    EXPECT_NE(name(1), "/bin/21");
    EXPECT_NE(name(2), "/bin/20");
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ServedClientsOf, APulseClientIsKnownOnceTheOtherIs) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 1);
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
    EXPECT_EQ(laterName(1), "/bin/20");
}

TEST_F(ServedClientsOf, APulseClientIsNotWhomItNamesByAConnectionThatItMadeHimHold) {
    const auto idle = table.connect(20, pulseSocket);
    table.bequeath(idle, 20, 30, false);
    table.connect(20, pulseSocket);
    isServed(1, 30);
    EXPECT_TRUE(isUnknown(name(1)));
    isServed(2, 30);
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ServedClientsOf, APulseClientIsNotWhomItNamesWhileHeMayStillSpeak) {
    table.connect(30, pulseSocket); // his own, over which he has said nothing
    table.connect(20, pulseSocket);
    isServed(1, 30);
    EXPECT_TRUE(isUnknown(name(1)));
}

// It speaks over one connection, gives that away and records over the other.
TEST_F(ServedClientsOf, TwoPulseClientsOfALiarAndHisHeirBlameNoHeir) {
    for (const bool isNew : {false, true}) {
        identity.clear();
        table.all.clear();
        table.sockets.clear();
        const auto spoken = table.connect(20, pulseSocket);
        table.connect(20, pulseSocket);
        identity.appeared(1, server, isNew);
        identity.described(1, 20, true);
        table.bequeath(spoken, 20, 30, false);
        identity.appeared(2, server, isNew);
        identity.described(2, 30, true);
        identity.pictureCompleted();
        EXPECT_NE(name(1), "/bin/30");
        EXPECT_NE(name(2), "/bin/30");
    }
}

TEST_F(ServedClientsOf, APulseClientWhoseEnvironmentSpeaksForItLendsNobodyItsName) {
    table.connect(20, pulseSocket);
    table.connect(30, pulseSocket);
    table.puppets.insert(30); // made to say that it is 20
    isServed(1, 30, false);
    isServed(2, 20, false);
    identity.pictureCompleted();
    EXPECT_NE(name(1), "/bin/30");
    EXPECT_NE(name(2), "/bin/30");
}

TEST_F(ServedClientsOf, PulseClientsThatComeAtOnceAreKnownOnceAllHaveSpoken) {
    for (const pid_t pid : {20, 21, 22}) {
        table.connect(pid, pulseSocket);
    }
    isServed(1, 21);
    identity.opened(1);
    EXPECT_TRUE(isUnknown(identity.who(1).app.id()));
    isServed(2, 22);
    EXPECT_TRUE(isUnknown(identity.who(1).app.id()));
    isServed(3, 20);
    EXPECT_EQ(identity.who(1).app.id(), "/bin/21") << "though it has opened a stream already";
    EXPECT_EQ(name(2), "/bin/22");
    EXPECT_EQ(name(3), "/bin/20");
}

TEST_F(ServedClientsOf, OneThatComesLaterIsToldApartFromThoseThatSpokeTogether) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 20, false);
    isServed(2, 21, false);
    identity.pictureCompleted();
    const auto heirs = table.connect(22, pulseSocket);
    table.bequeath(heirs, 22, 23, false);
    isServed(3, 999);
    EXPECT_EQ(laterName(3), "/bin/23") << "no word is needed";
    table.connect(24, pulseSocket);
    table.connect(25, pulseSocket);
    isServed(4, 25);
    isServed(5, 24);
    EXPECT_EQ(name(4), "/bin/25");
    EXPECT_EQ(name(5), "/bin/24");
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(name(2), "/bin/21");
}

TEST_F(ServedClientsOf, TwoConnectionsOfOneProcessDoNotHideAThird) {
    table.connect(20, pulseSocket);
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    for (const ClientKey client : {1, 2, 3}) {
        isServed(client, client == 3 ? 21 : 20, false);
    }
    identity.pictureCompleted();
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(name(2), "/bin/20");
    EXPECT_EQ(name(3), "/bin/21");
}

TEST_F(ServedClientsOf, APulseClientIsKnownOnceTheOtherHasGone) {
    const auto first = table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 1, false);
    isServed(2, 1, false);
    identity.pictureCompleted();
    EXPECT_TRUE(isUnknown(name(2)));
    table.hangUp(first);
    EXPECT_TRUE(isUnknown(identity.who(2).app.id()));
    identity.left(1);
    EXPECT_EQ(laterName(2), "/bin/21");
}

// One that came and went so fast that only its connection was seen leaves a second one that the
// other might have had.
TEST_F(ServedClientsOf, APulseClientIsKnownOnceTheServerHasHeardOfAllThatHungUp) {
    const auto fleeting = table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 21);
    table.hangUp(fleeting);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(identity.isUndecided(1));
    table.isServerAsleep = true;
    EXPECT_TRUE(isUnknown(name(1))) << "what it has to say of that may be on its way";
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_FALSE(identity.isUndecided(1));
}

TEST_F(ServedClientsOf, APulseClientIsKnownLaterIfTheServerWasBusyForLong) {
    const auto fleeting = table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 21);
    table.hangUp(fleeting);
    for (int look = 0; look < 20; ++look) {
        EXPECT_TRUE(isUnknown(name(1)));
    }
    EXPECT_FALSE(identity.isUndecided(1)) << "it is told of as somebody who can't be named";
    EXPECT_TRUE(identity.mayBeToldLater(1));
    table.isServerAsleep = true;
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_FALSE(identity.mayBeToldLater(1));
}

TEST_F(ServedClientsOf, APulseClientThatMayHaveHungUpTakesNobodysName) {
    const auto its = table.connect(30, pulseSocket);
    table.connect(21, pulseSocket);
    isServed(1, 21);
    table.hangUp(its);
    for (int look = 0; look < 12; ++look) {
        EXPECT_TRUE(isUnknown(name(1))) << "the server is held up";
    }
    EXPECT_FALSE(identity.isUndecided(1));
    identity.left(1);
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
}

TEST_F(ServedClientsOf, OneThatWasTakenForAnothersConnectionGivesItBack) {
    table.connect(20, pulseSocket); // speaks later
    identity.appeared(1, server, true);
    identity.described(1, 20, true); // its own has been closed
    const auto idle = table.connect(20, pulseSocket);
    table.bequeath(idle, 20, 30, false);
    identity.left(1);
    isServed(2, 30);
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ServedClientsOf, ThisProgramsOwnConnectionIsNobodyElses) {
    table.connect(::getpid(), pulseSocket);
    table.connect(20, pulseSocket);
    isServed(1, 20, false);
    identity.pictureCompleted();
    EXPECT_EQ(name(1), "/bin/20");
}

// Clients that hang up before they are looked up leave others' connections to be mistaken for
// theirs.
TEST_F(ServedClientsOf, APulseClientThatIsGoneTakesNobodysName) {
    table.connect(20, pulseSocket); // stays, and speaks after the next
    const auto gone = table.connect(21, pulseSocket);
    identity.appeared(1, server, true);
    identity.appeared(2, server, true);
    table.hangUp(gone);
    identity.described(2, 21, true);
    table.connect(22, pulseSocket);
    identity.described(1, 20, true);
    isServed(3, 22);
    EXPECT_EQ(name(3), "/bin/22");
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ServedClientsOf, APulseClientTakesItsConnectionBackFromOneThatIsGone) {
    table.hangUp(table.connect(20, pulseSocket));
    table.connect(21, pulseSocket);
    identity.appeared(1, server, true);
    identity.described(1, 20, true);
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
    EXPECT_TRUE(isUnknown(name(1)));
}

TEST_F(ServedClientsOf, ANameThatWasToldIsNotTakenBack) {
    table.connect(20, pulseSocket);
    isServed(1, 1);
    EXPECT_EQ(laterName(1), "/bin/20");
    table.connect(21, pulseSocket);
    isServed(2, 20);
    EXPECT_EQ(name(1), "/bin/20");
    EXPECT_EQ(laterName(2), "/bin/21");
}

TEST_F(ServedClientsOf, ASandboxedPulseClientSpeaksOfItsInnerProcessId) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    table.innerPids[21] = 3;
    isServed(1, 3, false);
    isServed(2, 20, false);
    EXPECT_EQ(name(1), "/bin/21");
    EXPECT_EQ(identity.who(1).pid, 21);
}

TEST_F(ServedClientsOf, TwoSandboxedPulseClientsWithOneInnerProcessIdCannotBeTold) {
    table.connect(20, pulseSocket);
    table.connect(21, pulseSocket);
    table.innerPids = {{20, 3}, {21, 3}};
    isServed(1, 3, false);
    isServed(2, 3, false);
    EXPECT_TRUE(isUnknown(name(1)));
    EXPECT_TRUE(isUnknown(name(2)));
}

TEST_F(ServedClientsOf, AConnectionToPulseThatWasHandedOnIsItsHolders) {
    const auto end = table.connect(20, pulseSocket);
    isServed(1, 20);
    table.give(end, 20, 21, false);
    EXPECT_EQ(name(1), "/bin/21");
}

TEST_F(ServedClientsOf, AHiddenPulseClientIsUnknown) {
    table.connect(20, pulseSocket);
    table.hidden.insert(20);
    isServed(1, 20);
    EXPECT_EQ(name(1), "unidentified:20");
}

TEST_F(ServedClientsOf, AHiddenPulseClientDoesNotBecomeWhomItNames) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    table.connect(21, pulseSocket);
    table.hidden.insert(21);
    isServed(2, 20);
    EXPECT_TRUE(isUnknown(name(2)));
    EXPECT_EQ(name(1), "/bin/20");
}

TEST_F(ServedClientsOf, AModuleOfTheServerIsTheServer) {
    isServed(1, server, true, false);
    EXPECT_EQ(name(1), "/bin/900");
}

TEST_F(ServedClientsOf, WhatSaysItIsTheServerBesideAFreeConnectionIsNobody) {
    table.connect(20, pulseSocket);
    isServed(1, server, true, false);
    EXPECT_TRUE(isUnknown(laterName(1))) << "who holds the connection may not have spoken yet";
    const auto end = table.connect(21, pulseSocket);
    table.connect(22, pulseSocket);
    isServed(2, server, true, false);
    table.hangUp(end);
    EXPECT_TRUE(isUnknown(laterName(2)));
}

TEST_F(ServedClientsOf, AModuleIsTheServerOnceWhoeverWasConnectingHasSpoken) {
    table.connect(20, pulseSocket);
    isServed(1, server, true, false);
    EXPECT_TRUE(isUnknown(name(1)));
    isServed(2, 20);
    EXPECT_EQ(name(2), "/bin/20");
    EXPECT_EQ(name(1), "/bin/900");
}

TEST_F(ServedClientsOf, OneOfTwoClientsOfAnAppThatSaysItIsTheServerIsNobody) {
    table.connect(20, pulseSocket);
    table.connect(20, pulseSocket);
    isServed(1, 20);
    isServed(2, server, true, false);
    EXPECT_TRUE(isUnknown(laterName(2)));
    EXPECT_EQ(name(1), "/bin/20");
}

TEST_F(ServedClientsOf, OneWhoseConnectionIsClosedIsNotWhoeverIsConnecting) {
    table.hangUp(table.connect(20, pulseSocket));
    table.connect(21, pulseSocket);
    isServed(1, 20);
    EXPECT_TRUE(isUnknown(name(1)));
    isServed(2, 21);
    EXPECT_EQ(name(2), "/bin/21");
    EXPECT_TRUE(isUnknown(laterName(1)));
}

TEST_F(ServedClientsOf, AModuleBesideClientsIsTheServer) {
    for (const pid_t pid : {20, 21}) {
        table.connect(pid, pulseSocket);
        isServed(static_cast<ClientKey>(pid), pid, false);
    }
    isServed(1, server, false, false);
    identity.pictureCompleted();
    isServed(2, server, true, false);
    EXPECT_EQ(name(1), "/bin/900");
    EXPECT_EQ(name(2), "/bin/900");
    EXPECT_EQ(name(20), "/bin/20");
}

TEST_F(ServedClientsOf, AConnectionIsFreeAgainWhenItsClientHasLeft) {
    table.connect(20, pulseSocket);
    isServed(1, 20);
    identity.left(1);
    isServed(2, 20);
    EXPECT_EQ(name(2), "/bin/20");
}

} // namespace
} // namespace velmoran
