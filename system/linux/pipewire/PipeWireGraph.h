// Who uses microphone, speaker and the cameras behind PipeWire, read from the server's own graph:
// connects, finds the server again when it comes back, mirrors the graph in memory, and works out
// whose each client is. A reading costs a look at the mirror and nothing else. Owned by the
// machine; lives on the event loop's thread, on which every call but the first and last must be.
#pragma once

#include "core/base/Observable.h"
#include "system/Machine.h"
#include "system/linux/apps/ProcessNaming.h"
#include "system/linux/clients/NetworkReceivers.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/kernel/ProcessEnds.h"
#include "system/linux/kernel/SteadyClock.h"
#include "system/linux/pipewire/CountedUses.h"
#include "system/linux/pipewire/GraphModel.h"
#include "system/linux/pipewire/PauseGrace.h"
#include "system/linux/pipewire/PipeWireCore.h"
#include "system/linux/pipewire/ServerSocket.h"
#include "system/linux/pipewire/UseHold.h"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmoran {

/// What goes on while the server is away stays as it was: for `absence` from its end on, and once a
/// server is there again, for `settling` from its first whole picture on. Within that time an app
/// whose process still runs counts as using what it used, so that one that comes back by itself has
/// never been away. The same holds for a session manager that is started anew.
struct PipeWireTimes {
    Seconds absence = 3.0;
    Seconds settling = 3.0;
    Seconds firstPicture = 0.5; ///< the constructor waits no longer than this
    /// How long a stream of a PulseAudio client has to run before it counts, as one that is to
    /// begin with a pause runs for a moment; all short runs of an app together. What the first
    /// picture shows counts at once.
    Seconds confirmation = 0.02;
    /// A stream that stopped before and whose node goes within so long was no such pause: its
    /// client has ended. It is told of for as long, and so is one that pauses again and again.
    Seconds brief = 0.05;
    /// Between two connections that lose sight before they have seen everything, and
    /// between two attempts to tell who a client is.
    Seconds respite = 0.02;
    /// Between two later attempts, while the server has things to tell but has been too busy to.
    Seconds longRespite = 1.0;
    /// How long any other client's stream may pause in the midst of its use. The end of one that
    /// pauses for longer is told so much later; that of a stream that goes is told at once.
    Seconds pause = 0.04;
};

class PipeWireGraph : private PipeWireListener {
public:
    using Times = PipeWireTimes;

    /// Returns when the first whole picture is there, or there is no server, or it doesn't answer;
    /// so what the first reading tells was going on before this program. Any thread.
    PipeWireGraph(EventLoop& loop, ProcessNaming& naming, SocketFacts& facts,
                  std::string socketPath = ServerSocket::defaultPath(), Times times = {});
    /// Any thread; while the loop runs.
    ~PipeWireGraph() override;
    PipeWireGraph(const PipeWireGraph&) = delete;
    PipeWireGraph& operator=(const PipeWireGraph&) = delete;

    /// One a client that hears or plays, in the order of their coming. The object id belongs to
    /// that client alone for as long as this program runs, and its app is pinned under it; `pid` is
    /// the process that is believed to be behind it, 0 if that isn't known.
    std::vector<AudioProcess> processes() const { return shown_.audioProcesses(); }
    std::vector<AudioDeviceInfo> devices() const { return shown_.devices; }
    std::vector<CameraUse> cameras() const { return shown_.cameraUses(); }
    /// Whether a server answers; without one the lists are empty, or what is held of them.
    bool isConnected() const { return core_ != nullptr && isComplete_; }

    /// Called on the loop's thread once at the end of each turn that changed one of the three
    /// lists.
    [[nodiscard]] Subscription onChange(std::function<void()> callback) {
        return changed_.subscribe(std::move(callback));
    }
    /// Called on the loop's thread when `isConnected` has changed.
    [[nodiscard]] Subscription onServerChange(std::function<void()> callback) {
        return serverChanged_.subscribe(std::move(callback));
    }
    /// Called on the loop's thread when something has taken this program's view of the graph away:
    /// another client has had objects hidden from it or its connection ended.
    [[nodiscard]] Subscription onSightTaken(std::function<void()> callback) {
        return sightTaken_.subscribe(std::move(callback));
    }
    /// To be called now and then: makes sure that nothing is hidden where nothing shows it.
    void checkSight();
    /// Called at once and on each change with the name of the node that sound goes to by default,
    /// empty when that isn't known. The loop's thread.
    [[nodiscard]] Subscription
    onDefaultOutput(const std::function<void(const std::string&)>& callback) {
        callback(*defaultOutput_);
        return defaultOutput_.subscribe(callback);
    }

private:
    void serverKnown(std::uint32_t cookie) override;
    void clientAppeared(std::uint32_t id, GraphSerial serial,
                        std::optional<pid_t> connectedPid) override;
    void clientDescribed(GraphSerial serial, std::optional<pid_t> claimedPid,
                         std::string_view api) override;
    void nodeChanged(const GraphNode& node) override;
    void portChanged(const GraphPort& port) override { model_.setPort(port); }
    void linkChanged(const GraphLink& link) override { model_.setLink(link); }
    void objectRemoved(std::uint32_t id) override;
    void sessionManagerChanged(bool present) override;
    void defaultOutputChanged(const std::string& nodeName) override {
        defaultOutput_.set(nodeName);
    }
    void pictureIsComplete() override;
    void serverLost() override { isLost_ = true; }
    void turnEnded() override;

    bool connect(bool waits);
    void seekServer();
    void disconnect();
    void loseServer();
    void holdUses();
    void releaseAfter(Seconds delay);
    void heldHaveChanged();
    void markRelayByName(GraphSerial client);
    void endPauses(const std::vector<GraphSerial>& nodes);
    void publish();
    GraphPicture livePicture();
    std::uint32_t objectID(GraphSerial serial);
    void openedAgain(GraphSerial client);
    /// `handle` is where the answer is kept.
    Subscription lookAgainAfter(Seconds delay, Subscription& handle);
    ClientIdentity::Who whoIs(const GraphUses::User& user);
    void pin(const GraphPicture& before);

    EventLoop& loop_;
    ProcessNaming& naming_;
    ServerSocket socket_;
    Times times_;
    GraphModel model_;
    PauseGrace pauses_;
    ClientIdentity identity_;
    NetworkReceivers receivers_;
    std::set<GraphSerial> networkClients_;
    UseHold hold_;
    SteadyClock clock_;
    CountedUses counted_;
    std::unique_ptr<PipeWireCore> core_;
    bool isComplete_ = false;
    bool isLost_ = false;
    std::optional<std::uint32_t> cookie_; ///< of the last server
    bool isSameServer_ = false;           ///< as that of the connection before
    unsigned turnsPutOff_ = 0;
    unsigned uneventful_ = 0; ///< checks that were left out
    Subscription nextAttempt_;
    Subscription secondLook_;     ///< at whom it couldn't be told yet
    Subscription laterLook_;      ///< at whom it couldn't be told for as long as one waits
    bool isStale_ = false;        ///< beside the model: names, or what is held
    bool isFirstPicture_ = false; ///< of this connection
    bool wasConnected_ = false;

    std::map<GraphSerial, std::uint32_t> objectIDs_;
    std::uint32_t nextObjectID_;
    Subscription release_;
    ProcessEnds heldProcesses_;

    GraphPicture shown_;
    Event<> changed_;
    Event<> serverChanged_;
    Event<> sightTaken_;
    Observable<std::string> defaultOutput_;
};

} // namespace velmoran
