// The sound and camera graph as its server announces it, mirrored in memory, and what follows from
// it: which client hears a microphone, plays to a speaker or sees a camera. Owned and fed by the
// graph's reader; knows no library and no process. Monitor's thread.
//
// A use is decided by what feeds a node through the links, never by what the node says of itself:
// its class, role and names are its client's own words. Sources are the exception, since it is the
// session manager that names devices, and an app that calls its own node a microphone only makes
// others be told of.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace velmoran {

/// What the server calls an object for as long as its connection lasts; never used twice, unlike
/// the short ids, which are given out again at once.
using GraphSerial = std::uint64_t;

struct GraphNode {
    /// Who is `pausing` ran a moment ago and counts as running. The server knows no such state.
    enum class State { error, creating, suspended, idle, pausing, running };

    std::uint32_t id = 0;
    GraphSerial serial = 0;
    std::optional<std::uint32_t> clientID; ///< absent for the server's own nodes
    /// It outlives whoever made it. The server says of such a node in `clientID` what its maker
    /// wanted it to say, and of all others the truth.
    bool lingers = false;
    std::string mediaClass;  ///< "Audio/Source", …; empty for those without
    std::string mediaRole;   ///< "Camera" tells cameras from screen casts
    std::string description; ///< to show
    std::string name;        ///< of the object, if it has no description
    std::string linkGroup;   ///< nodes of one client that pass sound on inside it
    State state = State::creating;

    bool operator==(const GraphNode&) const = default;
};

struct GraphPort {
    std::uint32_t id = 0;
    GraphSerial serial = 0;
    bool isMonitor = false; ///< gives what others play into the node

    bool operator==(const GraphPort&) const = default;
};

struct GraphLink {
    /// `set` covers everything from paused on: the session manager has made it, both ends agree.
    enum class State { unset, set };

    std::uint32_t id = 0;
    GraphSerial serial = 0;
    std::uint32_t outputNodeID = 0;
    std::uint32_t outputPortID = 0;
    std::uint32_t inputNodeID = 0;
    State state = State::unset;

    bool operator==(const GraphLink&) const = default;
};

/// What follows from the graph. Lists in the order of the serials, which is that of appearance.
struct GraphUses {
    struct User {
        GraphSerial client = 0; ///< 0 if the node's client is gone or was never there
        GraphSerial node = 0;   ///< its first node that counts
        bool microphone = false;
        bool speaker = false;

        bool operator==(const User&) const = default;
    };
    struct AudioDevice {
        GraphSerial node = 0;
        std::string name; ///< empty if it has none
        bool hasInput = false;
        bool hasOutput = false;
        bool isRunning = false;

        bool operator==(const AudioDevice&) const = default;
    };
    struct Camera {
        GraphSerial node = 0;
        std::string name;        ///< empty if it has none
        bool isRunning = false;  ///< somebody gets its pictures
        std::vector<User> users; ///< only `client` and `node` are set

        bool operator==(const Camera&) const = default;
    };

    std::vector<User> users; ///< of microphones and speakers; one a client
    std::vector<AudioDevice> audioDevices;
    std::vector<Camera> cameras;

    bool operator==(const GraphUses&) const = default;
};

class GraphModel {
public:
    void addClient(std::uint32_t id, GraphSerial serial);
    /// A client that only passes sound on, as a module that the server has loaded: whatever it gets
    /// is taken to come out of it, for as long as it is there.
    void markRelay(GraphSerial client);
    /// Adds it, or replaces what is known under its serial.
    void setNode(GraphNode node);
    void setPort(GraphPort port);
    void setLink(GraphLink link);
    /// The object that now has that short id is gone; unknown ids are none of ours.
    void remove(std::uint32_t id);
    void clear();

    const GraphNode* node(GraphSerial serial) const;
    /// The client that has that short id now.
    std::optional<GraphSerial> clientWithID(std::uint32_t id) const;
    /// Whose the node is, as far as the server vouches for it.
    std::optional<GraphSerial> ownerOf(const GraphNode& node) const;
    std::set<GraphSerial> clients() const;
    /// Whether it is a device with a complete link to a stream that runs, as when `uses` were
    /// worked out last.
    bool isDeviceOfRunning(GraphSerial node) const;
    std::size_t size() const { return objects_.size(); }

    /// Whether `uses` would be worked out anew.
    bool isStale() const { return isStale_; }
    /// Worked out anew only after a change that can matter; the reference lasts until the next.
    const GraphUses& uses();

private:
    enum class Kind { client, node, port, link };
    struct Object {
        Kind kind = Kind::client;
        GraphSerial serial = 0;
    };

    /// A link keeps the nodes that had its short ids when it was first complete, so that a number
    /// that is given out again never makes it a link of others.
    struct ResolvedLink {
        GraphLink link;
        GraphSerial outputNode = 0;
        GraphSerial outputPort = 0;
        GraphSerial inputNode = 0;
    };

    void place(std::uint32_t id, Kind kind, GraphSerial serial);
    GraphSerial serialOf(std::uint32_t id, Kind kind) const;
    void resolve(ResolvedLink& entry) const;
    void recompute();

    std::unordered_map<std::uint32_t, Object> objects_; ///< by short id
    std::map<GraphSerial, GraphNode> nodes_;
    std::map<GraphSerial, GraphPort> ports_;
    std::map<GraphSerial, ResolvedLink> links_;
    std::set<GraphSerial> relays_;
    GraphUses uses_;
    bool isStale_ = false;
};

} // namespace velmoran
