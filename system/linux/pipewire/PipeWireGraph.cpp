#include "system/linux/pipewire/PipeWireGraph.h"

#include "core/text/Localizer.h"
#include "system/linux/apps/ServingPrograms.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velmoran {

namespace {

// Far from the numbers that other readers of this machine give to their objects.
constexpr std::uint32_t firstObjectID = 0x50000000;

/// While nothing is in use only each so manieth time that it is called for does something.
constexpr unsigned rareCheck = 10;
/// However much is being removed.
constexpr unsigned mostTurnsPutOff = 3;
constexpr unsigned mostFirstLooks = 4; // nobody holds up the start

} // namespace

PipeWireGraph::PipeWireGraph(EventLoop& loop, ProcessNaming& naming, SocketFacts& facts,
                             std::string socketPath, Times times)
    : loop_(loop),
      naming_(naming),
      socket_(loop, std::move(socketPath)),
      times_(times),
      pauses_(loop, times.pause, [this](const auto& nodes) { endPauses(nodes); }),
      identity_(facts, naming, socket_.path()),
      receivers_(facts, naming),
      counted_(loop, clock_, {times.confirmation, times.brief},
               [this] {
                   isStale_ = true;
                   publish();
               }),
      nextObjectID_(firstObjectID),
      heldProcesses_(loop, [this](pid_t pid) {
          hold_.drop(pid);
          heldHaveChanged();
          publish();
      }) {
    loop_.runAndWait([this] {
        if (!connect(true)) {
            seekServer();
        }
        publish();
        // What goes on already is told as such, also if it isn't clear at once by whom.
        for (unsigned look = 0; look < mostFirstLooks && core_ && secondLook_ && !isLost_; ++look) {
            core_->waitFor(times_.respite);
            secondLook_.reset();
            isStale_ = true;
            publish();
        }
        if (isLost_) {
            loseServer();
        }
        wasConnected_ = isConnected();
    });
}

PipeWireGraph::~PipeWireGraph() {
    loop_.runAndWait([this] {
        release_.reset();
        pauses_.clear();
        nextAttempt_.reset();
        secondLook_.reset();
        laterLook_.reset();
        counted_.stop();
        heldProcesses_.waitFor({});
        socket_.stop();
        core_.reset();
        for (const auto& [process, app] : shown_.processes) {
            naming_.unpin(process.objectID);
        }
    });
}

bool PipeWireGraph::connect(bool waits) {
    const int socket = socket_.connect();
    if (socket < 0) {
        return false;
    }
    isComplete_ = false;
    isLost_ = false;
    core_ = PipeWireCore::open(loop_, socket, *this);
    if (core_ && waits) {
        core_->waitForPicture(times_.firstPicture);
    }
    if (isLost_) {
        disconnect();
    }
    return core_ != nullptr;
}

void PipeWireGraph::seekServer() {
    socket_.callUntilFound([this] { return connect(false); });
}

void PipeWireGraph::disconnect() {
    core_.reset();
    isComplete_ = false;
    isLost_ = false;
    defaultOutputChanged({});
    model_.clear();
    pauses_.clear();
    receivers_.clear();
    secondLook_.reset();
    laterLook_.reset();
    networkClients_.clear();
    counted_.clear();
    isStale_ = true;
}

void PipeWireGraph::serverKnown(std::uint32_t cookie) {
    isSameServer_ = cookie_ == cookie;
    cookie_ = cookie;
    if (!isSameServer_) {
        identity_.clear();
        objectIDs_.clear();
        counted_.forgetServer();
    } else {
        // It goes on, and leaves nobody by itself.
        sightTaken_();
    }
}

void PipeWireGraph::checkSight() {
    if (isConnected() && (shown_.hasUsers() || ++uneventful_ % rareCheck == 0)) {
        core_->checkSight();
    }
}

void PipeWireGraph::clientAppeared(std::uint32_t id, GraphSerial serial,
                                   std::optional<pid_t> connectedPid) {
    identity_.appeared(serial, connectedPid, isComplete_);
    model_.addClient(id, serial);
}

void PipeWireGraph::clientDescribed(GraphSerial serial, std::optional<pid_t> claimedPid,
                                    std::string_view api) {
    const bool saysPulse = api == "pipewire-pulse";
    identity_.described(serial, claimedPid, saysPulse);
    // A server connects for its clients, and for what it does itself: whatever says that it is no
    // client of PulseAudio's is taken at its word.
    if (identity_.isServed(serial) && !saysPulse) {
        model_.markRelay(serial);
        if (api == "protocol-simple") {
            networkClients_.insert(serial);
        }
    }
    markRelayByName(serial);
    isStale_ = true;
}

void PipeWireGraph::markRelayByName(GraphSerial client) {
    if (const auto path = identity_.who(client).app.path; path && passesSoundOn(*path)) {
        model_.markRelay(client);
    }
}

void PipeWireGraph::nodeChanged(const GraphNode& node) {
    auto counted = node;
    const auto client = model_.ownerOf(node);
    const auto* known = model_.node(node.serial);
    if (!known && isComplete_ && client && identity_.isReady(*client)) {
        // The stream runs some milliseconds later: the time to look who holds the connection. Of
        // the many that are there at the start only those are looked at that use something.
        openedAgain(*client);
        markRelayByName(*client);
        isStale_ = true;
    }
    // What a PulseAudio client does while it starts, its confirmation sees to.
    if (!client || !identity_.isServed(*client)) {
        counted.state = pauses_.effectiveState(
            node.serial, known != nullptr ? known->state : GraphNode::State::creating, node.state);
    }
    model_.setNode(std::move(counted));
}

void PipeWireGraph::endPauses(const std::vector<GraphSerial>& nodes) {
    for (const auto serial : nodes) {
        // Who has just begun to use a device runs some moments before that is told to run.
        if (model_.isDeviceOfRunning(serial) && pauses_.prolong(serial)) {
            continue;
        }
        if (const auto* known = model_.node(serial)) {
            auto node = *known;
            node.state = GraphNode::State::idle;
            model_.setNode(std::move(node));
        }
    }
    publish();
}

void PipeWireGraph::objectRemoved(std::uint32_t id) {
    if (const auto client = model_.clientWithID(id)) {
        identity_.left(*client);
        receivers_.left(*client);
        networkClients_.erase(*client);
    }
    model_.remove(id);
}

void PipeWireGraph::sessionManagerChanged(bool present) {
    if (!isComplete_) {
        return;
    }
    if (!present) {
        holdUses();
        releaseAfter(times_.absence);
    } else if (hold_.isHolding()) {
        releaseAfter(times_.settling);
    }
}

void PipeWireGraph::pictureIsComplete() {
    if (isSameServer_) {
        identity_.keepOnly(model_.clients());
    }
    identity_.pictureCompleted();
    isComplete_ = true;
    isFirstPicture_ = true;
    isStale_ = true;
    if (hold_.isHolding()) {
        releaseAfter(isSameServer_ ? 0 : times_.settling);
    }
}

void PipeWireGraph::turnEnded() {
    pauses_.turnEnded();
    if (isLost_) {
        loseServer();
    }
    // What changes beside a removal is told with it, as what a session manager leaves behind is
    // with its going.
    if (core_ && core_->areRemovalsInDoubt() && turnsPutOff_ < mostTurnsPutOff) {
        ++turnsPutOff_;
        return;
    }
    turnsPutOff_ = 0;
    publish();
    if (wasConnected_ != isConnected()) {
        wasConnected_ = isConnected();
        serverChanged_();
    }
}

void PipeWireGraph::loseServer() {
    // What was shown last, not what is left of it: the server takes its objects down one by one
    // before it goes.
    holdUses();
    releaseAfter(times_.absence);
    const bool wasComplete = isComplete_;
    disconnect();
    if (wasComplete) {
        seekServer();
    } else {
        nextAttempt_ = loop_.after(times_.respite, [this] { seekServer(); });
    }
}

void PipeWireGraph::holdUses() {
    hold_.hold(shown_);
    heldHaveChanged();
}

void PipeWireGraph::releaseAfter(Seconds delay) {
    release_ = loop_.after(delay, [this] {
        hold_.release();
        heldHaveChanged();
        publish();
    });
}

void PipeWireGraph::heldHaveChanged() {
    isStale_ = true;
    for (const auto pid : heldProcesses_.waitFor(hold_.heldProcesses())) {
        hold_.drop(pid);
    }
}

std::uint32_t PipeWireGraph::objectID(GraphSerial serial) {
    const auto [entry, isNew] = objectIDs_.try_emplace(serial, nextObjectID_);
    if (isNew) {
        ++nextObjectID_;
    }
    return entry->second;
}

/// Who can't be told is looked at again, but not at each change.
void PipeWireGraph::openedAgain(GraphSerial client) {
    const bool mayBeToldLater = identity_.mayBeToldLater(client);
    const bool wasUndecided = identity_.isUndecided(client);
    if ((wasUndecided && secondLook_) || (mayBeToldLater && laterLook_)) {
        return;
    }
    identity_.opened(client);
    if (identity_.isUndecided(client)) {
        secondLook_ = lookAgainAfter(times_.respite, secondLook_);
    } else if (identity_.mayBeToldLater(client)) {
        laterLook_ = lookAgainAfter(times_.longRespite, laterLook_);
    } else if (wasUndecided || mayBeToldLater) {
        markRelayByName(client);
    }
}

Subscription PipeWireGraph::lookAgainAfter(Seconds delay, Subscription& handle) {
    return loop_.after(delay, [this, &handle] {
        handle.reset();
        isStale_ = true;
        publish();
    });
}

ClientIdentity::Who PipeWireGraph::whoIs(const GraphUses::User& user) {
    if (user.client == 0) {
        return {naming_.unidentified("node-" + std::to_string(user.node)), 0};
    }
    openedAgain(user.client);
    auto who = identity_.who(user.client);
    if (networkClients_.contains(user.client) && who.pid > 0) {
        return receivers_.receiver(user.client, who.pid).value_or(std::move(who));
    }
    return who;
}

GraphPicture PipeWireGraph::livePicture() {
    GraphPicture picture;
    const auto& uses = model_.uses();
    const bool isFirst = std::exchange(isFirstPicture_, false);
    std::vector<CountedUses::User> users;
    for (const auto& user : uses.users) {
        auto who = whoIs(user);
        users.push_back(
            {.client = user.client,
             .node = user.node,
             .app = who.app.unidentified ? std::string() : who.app.id(),
             .isSure = isFirst || !identity_.isServed(user.client),
             .isUndecided = identity_.isUndecided(user.client),
             .entry = {{.objectID = objectID(user.client != 0 ? user.client : user.node),
                        .pid = who.pid,
                        .bundleID = who.app.bundleID,
                        .isRunningInput = user.microphone,
                        .isRunningOutput = user.speaker},
                       std::move(who.app)}});
    }
    picture.processes = counted_.tellable(
        std::move(users), [this](GraphSerial node) { return model_.node(node) != nullptr; });
    for (const auto& device : uses.audioDevices) {
        picture.devices.push_back(
            {objectID(device.node),
             device.name.empty() ? words().text("Unknown device") : device.name, device.hasInput,
             device.hasOutput, device.isRunning});
    }
    for (const auto& camera : uses.cameras) {
        GraphPicture::Camera entry;
        entry.device = {objectID(camera.node),
                        camera.name.empty() ? words().text("Unknown camera") : camera.name,
                        camera.isRunning};
        for (const auto& user : camera.users) {
            auto who = whoIs(user);
            if (identity_.isUndecided(user.client)) {
                continue;
            }
            const bool isKnown =
                std::any_of(entry.users.begin(), entry.users.end(),
                            [&](const auto& other) { return other.app.isSameApp(who.app); });
            if (!isKnown) {
                entry.users.push_back({std::move(who.app), who.pid});
            }
        }
        picture.cameras.push_back(std::move(entry));
    }
    return picture;
}

// Whoever is told of is pinned, and nobody else.
void PipeWireGraph::pin(const GraphPicture& before) {
    std::set<std::uint32_t> pinned;
    for (const auto& [process, app] : shown_.processes) {
        if (pinned.insert(process.objectID).second) {
            naming_.pin(process.objectID, app);
        }
    }
    for (const auto& [process, app] : before.processes) {
        if (!pinned.contains(process.objectID)) {
            naming_.unpin(process.objectID);
        }
    }
}

void PipeWireGraph::publish() {
    if (!isStale_ && !model_.isStale()) {
        return;
    }
    isStale_ = false;
    // While the picture of a new server isn't whole, what is held stands alone.
    auto picture = hold_.merged(isComplete_ ? livePicture() : GraphPicture());
    if (picture == shown_) {
        return;
    }
    pin(std::exchange(shown_, std::move(picture)));
    changed_();
}

} // namespace velmoran
