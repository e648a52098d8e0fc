// One life of the connection to a PipeWire server, from the open socket until either side ends it:
// asks for all objects that matter and hands on what the server says of them. Uses libpipewire,
// as only DefaultOutput and MuteAnnouncement do beside it. Owned by the graph's reader; the loop's
// thread only.
#pragma once

#include "system/linux/kernel/EventLoop.h"
#include "system/linux/pipewire/GraphModel.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace velmoran {

/// Whoever is told. None of these may end the connection from inside the call.
class PipeWireListener {
public:
    virtual ~PipeWireListener() = default;
    /// Which server it is: each has a number of its own, drawn at its start. Comes first.
    virtual void serverKnown(std::uint32_t cookie) = 0;
    /// `connectedPid` is what the server knows from the socket; absent if it says nothing.
    virtual void clientAppeared(std::uint32_t id, GraphSerial serial,
                                std::optional<pid_t> connectedPid) = 0;
    /// The client's own words, each time they change.
    virtual void clientDescribed(GraphSerial serial, std::optional<pid_t> claimedPid,
                                 std::string_view api) = 0;
    /// State, or anything else of it, is now so. Comes first when the server has told its state.
    virtual void nodeChanged(const GraphNode& node) = 0;
    virtual void portChanged(const GraphPort& port) = 0;
    virtual void linkChanged(const GraphLink& link) = 0;
    /// Any object by its short id, also one of a kind that was never told of. It has really gone,
    /// and isn't only hidden from this connection.
    virtual void objectRemoved(std::uint32_t id) = 0;
    /// The session manager, which makes devices and links, has come to the graph or left it.
    virtual void sessionManagerChanged(bool present) = 0;
    /// The name of the node that sound goes to by default; empty when none is chosen.
    virtual void defaultOutputChanged(const std::string& nodeName) = 0;
    /// Everything that was there at the connection's begin has been told.
    virtual void pictureIsComplete() = 0;
    /// The server has gone, or has ended the connection, or hides objects from it since another
    /// client wanted it so. Nothing else comes that can be relied on.
    virtual void serverLost() = 0;
    /// The end of what came at once.
    virtual void turnEnded() = 0;
};

class PipeWireCore {
public:
    /// Takes over the descriptor, a connected socket. Null if the library can't be used.
    static std::unique_ptr<PipeWireCore> open(EventLoop& loop, int socket,
                                              PipeWireListener& listener);
    virtual ~PipeWireCore() = default;

    /// Waits on this thread until the picture is complete or the server has gone, with the calls
    /// that come of it but `turnEnded`. False if neither happened in time; it goes on by itself.
    virtual bool waitForPicture(Seconds bound) = 0;
    /// Waits on this thread for as long, or until the server has gone, with the calls that come.
    virtual void waitFor(Seconds time) = 0;
    /// Lets the server say whether it still shows everything, where nothing gives reason to ask.
    virtual void checkSight() = 0;
    /// Whether objects were told to be removed that may be hidden only. Known within a round trip.
    virtual bool areRemovalsInDoubt() const = 0;
};

} // namespace velmoran
