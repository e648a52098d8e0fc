#include "app/contents/ConnectionsContent.h"

#include "Rows.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using Peer = ConnectionsContent::Peer;

const Timestamp peersStart{794136600}; // 09:30 UTC

ConnectionRecord peerAt(const std::string& address, std::optional<Timestamp> firstSeen = {}) {
    return {.address = address, .port = 443, .transport = "TCP", .firstSeen = firstSeen};
}

ActivityRow rowWithPeers(const std::vector<Device>& devices) {
    std::vector<UsageSession> sessions;
    for (const auto device : devices) {
        auto session = sessionOf(app("zoom"), device, peersStart);
        session.connections = {peerAt("192.0.2.1")};
        sessions.push_back(session);
    }
    return rowOf(sessions);
}

std::string peersExplained(const std::string& devices, const std::string& medium) {
    return "Where the app was connected while it used " + devices +
           ", and when Velmoran first saw each address. This doesn't mean your " + medium +
           " went there. If this Mac uses a VPN or proxy, these may be its addresses.";
}

TEST(ConnectionsContent, OfTheUnknownAppAreNotKnown) {
    for (const auto& user : {AppIdentity::unknown(), unidentified("7")}) {
        const auto content =
            ConnectionsContent::of(rowOf({sessionOf(user, Device::camera, peersStart)}));
        EXPECT_EQ(content.text,
                  "We couldn't tell which app it is, so its connections aren't known.");
        EXPECT_TRUE(content.peers.empty());
    }
}

TEST(ConnectionsContent, SaysThatNoneWereSeen) {
    const auto content =
        ConnectionsContent::of(rowOf({sessionOf(app("zoom"), Device::camera, peersStart),
                                      sessionOf(app("zoom"), Device::microphone, peersStart)}));
    EXPECT_EQ(content.text, "Velmoran didn't see any connections for this app while it used the "
                            "camera and microphone.");
}

TEST(ConnectionsContent, NamesTheSpeakerWhereThereIsNothingElse) {
    const auto content =
        ConnectionsContent::of(rowOf({sessionOf(app("music"), Device::speaker, peersStart)}));
    EXPECT_EQ(content.text,
              "Velmoran didn't see any connections for this app while it used the speaker.");
}

TEST(ConnectionsContent, ExplainsWhatTheListMeansByTheMedium) {
    EXPECT_EQ(ConnectionsContent::of(rowWithPeers({Device::camera})).text,
              peersExplained("the camera", "video"));
    EXPECT_EQ(ConnectionsContent::of(rowWithPeers({Device::microphone})).text,
              peersExplained("the microphone", "audio"));
    EXPECT_EQ(ConnectionsContent::of(rowWithPeers({Device::camera, Device::microphone})).text,
              peersExplained("the camera and microphone", "audio or video"));
}

TEST(ConnectionsContent, ListsEachPeerOnceInItsOrder) {
    auto camera = sessionOf(app("zoom"), Device::camera, peersStart);
    camera.connections = {peerAt("192.0.2.1", peersStart), peerAt("2001:db8::1")};
    auto microphone = sessionOf(app("zoom"), Device::microphone, peersStart + 1);
    microphone.connections = {peerAt("192.0.2.1", peersStart),
                              peerAt("192.0.2.9", peersStart + 60)};
    EXPECT_EQ(
        ConnectionsContent::of(rowOf({camera, microphone})).peers,
        (std::vector<Peer>{{.address = "192.0.2.1",
                            .port = "port 443 TCP",
                            .firstSeen = words().shortTime(peersStart)},
                           {.address = "2001:db8::1", .port = "port 443 TCP", .firstSeen = ""},
                           {.address = "192.0.2.9",
                            .port = "port 443 TCP",
                            .firstSeen = words().shortTime(peersStart + 60)}}));
}

TEST(ConnectionsContent, NamesNoMacOnLinux) {
    setWords(Localizer("en_US", "UTC", catalogues("en_US", Platform::linux)));
    const auto text = ConnectionsContent::of(rowWithPeers({Device::camera})).text;
    setWords(Localizer());
    EXPECT_NE(text.find("If this computer uses a VPN"), std::string::npos) << text;
}

} // namespace
} // namespace velmoran
