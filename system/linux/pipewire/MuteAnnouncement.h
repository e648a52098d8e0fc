// A node's word on whether it is muted, which some keep to themselves. Owned by what is known of
// the node in the connection to PipeWire; the loop's thread only. Uses libpipewire.
#pragma once

struct pw_node_info;
struct pw_proxy;

namespace velmoran {

/// A microphone or output that no card's route mutes (a virtual or network one, a card in the
/// pro-audio profile) is muted by its own converter. In PipeWire 1.4 (seen with 1.4.2, not with
/// 0.3.65) one that has never run takes a mute and honours it from its first sample on, but doesn't
/// announce it before. Until then the server says that it isn't muted, also where the session
/// manager has given an old mute back to it, and whoever unmutes it through the server's PulseAudio
/// interface is answered that it is done, while nothing was written.
class MuteAnnouncement {
public:
    /// To be called with all that the server tells of the node. Once in its life, while it doesn't
    /// run, the node is told something that changes nothing but makes it announce itself from then
    /// on as it is: muted or not, and by whomever.
    void nodeChanged(pw_proxy* node, const pw_node_info& info);

private:
    bool isConcerned_ = false; ///< an audio device without a route
    bool isDecided_ = false;   ///< it announces itself
};

} // namespace velmoran
