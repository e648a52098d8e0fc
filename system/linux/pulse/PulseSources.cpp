#include "system/linux/pulse/PulseSources.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <set>
#include <utility>

#include <pulse/proplist.h>
#include <unistd.h>

namespace velmoran {

namespace {

// Between two attempts to tell who a client is, and later, while the server is too busy to say all.
constexpr Seconds respite = 0.02;
constexpr Seconds longRespite = 1.0;

std::optional<std::uint32_t> indexFrom(std::uint32_t index) {
    return index == PA_INVALID_INDEX ? std::nullopt : std::optional(index);
}

std::string textOf(const char* text) {
    return text ? text : "";
}

std::optional<std::int32_t> claimedPidOf(const pa_proplist* properties) {
    const char* text = pa_proplist_gets(properties, PA_PROP_APPLICATION_PROCESS_ID);
    std::int32_t pid = 0;
    if (!text || std::from_chars(text, text + std::strlen(text), pid).ec != std::errc() ||
        pid <= 0) {
        return std::nullopt;
    }
    return pid;
}

} // namespace

PulseSources::PulseSources(PulseContext& pulse, SerialQueue& queue, SocketFacts& facts,
                           ProcessNaming& naming, std::string socket)
    : Listener(static_cast<pa_subscription_mask_t>(
          PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
          PA_SUBSCRIPTION_MASK_SINK_INPUT | PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT |
          PA_SUBSCRIPTION_MASK_CLIENT)),
      pulse_(pulse),
      queue_(queue),
      facts_(facts),
      naming_(naming),
      identity_(facts, naming, {}),
      socket_(std::move(socket)) {
    pulse_.add(*this);
}

PulseSources::~PulseSources() {
    pulse_.remove(*this);
    for (const auto& process : processes_) {
        naming_.unpin(process.objectID);
    }
}

void PulseSources::hop(Hop action) {
    queue_.post([weak = std::weak_ptr(self_), action = std::move(action)] {
        if (const auto self = weak.lock()) {
            action(**self);
        }
    });
}

void PulseSources::complete() {
    if (std::exchange(isFirstList_, false)) {
        std::set<ClientKey> listed;
        for (const auto& [index, isDescribed] : clients_) {
            listed.insert(index);
        }
        hop([listed = std::move(listed)](PulseSources& self) { self.identity_.keepOnly(listed); });
    }
    if (model_ != handedOver_) {
        handedOver_ = model_;
        hop([model = model_](PulseSources& self) {
            self.identity_.pictureCompleted();
            self.update(model);
        });
    }
    if (std::exchange(isNew_, false)) {
        hop([](PulseSources& self) { self.setConnected(true); });
    }
}

void PulseSources::setConnected(bool connected) {
    if (std::exchange(isConnected_, connected) != connected && onChange_) {
        onChange_();
    }
}

void PulseSources::connected() {
    disconnected();
    asked(pa_context_get_server_info(
        context(),
        [](pa_context*, const pa_server_info* info, void* self) {
            if (info) {
                static_cast<PulseSources*>(self)->storeServer(*info);
            }
        },
        this));
    isNew_ = true;
    hop([](PulseSources& self) { self.server_ = self.findServer(); });
    ask(pa_context_get_client_info_list(context(), callbackTo<&PulseSources::storeListed>, this));
    ask(pa_context_get_sink_info_list(context(), callbackTo<&PulseSources::storeSink>, this));
    ask(pa_context_get_source_info_list(context(), callbackTo<&PulseSources::storeSource>, this));
    ask(pa_context_get_source_output_info_list(context(), callbackTo<&PulseSources::storeRecording>,
                                               this));
    ask(pa_context_get_sink_input_info_list(context(), callbackTo<&PulseSources::storePlayback>,
                                            this));
}

void PulseSources::disconnected() {
    model_ = {};
    clients_.clear();
    isFirstList_ = true;
    isNew_ = false;
}

void PulseSources::serverGone() {
    cookie_.reset();
    handedOver_ = {};
    hop([](PulseSources& self) {
        self.forget();
        self.setConnected(false);
    });
}

// A server has a number of its own. Comes before all that it tells.
void PulseSources::storeServer(const pa_server_info& info) {
    const bool isSame = cookie_ == info.cookie;
    const bool isFirst = !cookie_;
    cookie_ = info.cookie;
    if (isSame) {
        // It goes on, and hangs up on nobody by itself.
        hop([](PulseSources& self) {
            if (self.onSightTaken_) {
                self.onSightTaken_();
            }
        });
    } else if (!isFirst) {
        handedOver_ = {};
        hop([](PulseSources& self) {
            self.forget();
            self.server_ = self.findServer();
        });
    }
}

void PulseSources::changed(unsigned facility, unsigned type, std::uint32_t index) {
    const auto follow = [&](auto& objects, auto question, auto callback) {
        if (type != PA_SUBSCRIPTION_EVENT_REMOVE) {
            ask(question(context(), index, callback, this));
            return;
        }
        objects.erase(index);
        if (!isWaiting()) {
            complete();
        }
    };
    switch (facility) {
    case PA_SUBSCRIPTION_EVENT_CLIENT:
        clientChanged(type, index);
        break;
    case PA_SUBSCRIPTION_EVENT_SINK:
        follow(model_.sinks, pa_context_get_sink_info_by_index,
               callbackTo<&PulseSources::storeSink>);
        break;
    case PA_SUBSCRIPTION_EVENT_SOURCE:
        follow(model_.sources, pa_context_get_source_info_by_index,
               callbackTo<&PulseSources::storeSource>);
        break;
    case PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT:
        follow(model_.recordings, pa_context_get_source_output_info,
               callbackTo<&PulseSources::storeRecording>);
        break;
    case PA_SUBSCRIPTION_EVENT_SINK_INPUT:
        follow(model_.playbacks, pa_context_get_sink_input_info,
               callbackTo<&PulseSources::storePlayback>);
        break;
    default:
        break;
    }
}

void PulseSources::clientChanged(unsigned type, std::uint32_t index) {
    if (type == PA_SUBSCRIPTION_EVENT_REMOVE) {
        clients_.erase(index);
        hop([index](PulseSources& self) { self.identity_.left(index); });
        return;
    }
    if (type == PA_SUBSCRIPTION_EVENT_NEW) {
        clientCame(index, true);
    }
    if (const auto client = clients_.find(index); client != clients_.end() && !client->second) {
        ask(pa_context_get_client_info(context(), index, callbackTo<&PulseSources::storeClient>,
                                       this));
    }
}

void PulseSources::clientCame(std::uint32_t index, bool isNew) {
    if (clients_.try_emplace(index, false).second) {
        hop([index, isNew](PulseSources& self) {
            self.identity_.appeared(index, self.server_, isNew);
        });
    }
}

void PulseSources::storeListed(const pa_client_info& info) {
    clientCame(info.index, false);
    clientSpoke(info, true);
}

void PulseSources::storeClient(const pa_client_info& info) {
    clientSpoke(info, false);
}

void PulseSources::storeStreamer(const pa_client_info& info) {
    clientSpoke(info, true);
}

// A client is there before it has said anything; by its first stream it has said all that it will.
void PulseSources::clientSpoke(const pa_client_info& info, bool mayBeSilent) {
    const auto client = clients_.find(info.index);
    const auto claim = claimedPidOf(info.proplist);
    if (client == clients_.end() || client->second || (!claim && !mayBeSilent)) {
        return;
    }
    client->second = true;
    hop([index = info.index, claim](PulseSources& self) {
        self.identity_.described(index, claim, true);
    });
}

void PulseSources::storeSink(const pa_sink_info& info) {
    model_.sinks[info.index] = {textOf(info.description), std::nullopt,
                                info.state == PA_SINK_RUNNING};
}

void PulseSources::storeSource(const pa_source_info& info) {
    model_.sources[info.index] = {textOf(info.description), indexFrom(info.monitor_of_sink),
                                  info.state == PA_SOURCE_RUNNING};
}

template <typename Info>
PulseModel::Stream PulseSources::streamFrom(const Info& info, std::uint32_t device) {
    const auto client = indexFrom(info.client);
    if (client) {
        clientCame(*client, true);
        if (!clients_[*client]) {
            ask(pa_context_get_client_info(context(), *client,
                                           callbackTo<&PulseSources::storeStreamer>, this));
        }
    }
    return {client, indexFrom(info.owner_module), indexFrom(device), info.corked != 0};
}

void PulseSources::storeRecording(const pa_source_output_info& info) {
    model_.recordings[info.index] = streamFrom(info, info.source);
}

void PulseSources::storePlayback(const pa_sink_input_info& info) {
    model_.playbacks[info.index] = streamFrom(info, info.sink);
}

// The process at the other end of this program's own connection.
std::optional<pid_t> PulseSources::findServer() {
    const auto own = facts_.socketsOf(::getpid());
    for (const auto& pair : facts_.pairs()) {
        if (pair.name != socket_ ||
            std::find(own.begin(), own.end(), pair.clientEnd) == own.end()) {
            continue;
        }
        for (const auto& [end, holders] : facts_.holdersOf({pair.serverEnd})) {
            if (!holders.empty()) {
                return holders.front();
            }
        }
    }
    return std::nullopt;
}

std::uint32_t PulseSources::deviceIDOf(bool isSource, std::uint32_t index) {
    const auto [id, isNew] = deviceIDs_.try_emplace({isSource, index}, 0);
    if (isNew) {
        id->second = ++lastDeviceID_;
    }
    return id->second;
}

void PulseSources::update(PulseModel model) {
    latest_ = std::move(model);
    std::vector<AudioProcess> processes;
    std::map<std::uint32_t, std::uint32_t> objectIDs;
    const auto tell = [&](std::uint32_t client, AudioProcess process, AppRef app) {
        objectIDs[client] = process.objectID;
        naming_.pin(process.objectID, std::move(app));
        processes.push_back(std::move(process));
    };
    auto before = std::exchange(undecided_, {});
    bool isToldLater = false;
    for (const auto& [client, use] : latest_.uses()) {
        identity_.opened(client);
        auto who = identity_.who(client);
        const auto known = objectIDs_.find(client);
        AudioProcess process{.objectID = known != objectIDs_.end() ? known->second : 0,
                             .pid = who.pid,
                             .bundleID = std::nullopt,
                             .isRunningInput = use.microphone,
                             .isRunningOutput = use.speaker};
        if (const auto waited = before.extract(client)) {
            process.objectID = waited.mapped().process.objectID;
        } else if (process.objectID == 0) {
            process.objectID = ++lastObjectID_;
        }
        isToldLater = isToldLater || identity_.mayBeToldLater(client);
        if (identity_.isUndecided(client)) {
            undecided_[client] = {std::move(process), std::move(who.app)};
        } else {
            tell(client, std::move(process), std::move(who.app));
        }
    }
    // Who has gone before that was known has been there all the same.
    for (auto& [client, gone] : before) {
        tell(client, std::move(gone.process), std::move(gone.app));
    }
    for (const auto& [client, id] : objectIDs_) {
        if (!objectIDs.contains(client)) {
            naming_.unpin(id);
        }
    }
    objectIDs_ = std::move(objectIDs);
    const bool isSoon = !undecided_.empty() || !before.empty();
    nextLook_ = isSoon || isToldLater
                    ? queue_.every(isSoon ? respite : longRespite, [this] { update(latest_); })
                    : Subscription();

    std::vector<AudioDeviceInfo> devices;
    const auto add = [&](bool isSource, std::uint32_t index, const PulseModel::Device& device) {
        devices.push_back({deviceIDOf(isSource, index),
                           device.name.empty() ? words().text("Unknown device") : device.name,
                           isSource, !isSource, device.isRunning});
    };
    for (const auto& [index, source] : latest_.sources) {
        if (!source.monitorOfSink) {
            add(true, index, source);
        }
    }
    for (const auto& [index, sink] : latest_.sinks) {
        add(false, index, sink);
    }
    if (processes != processes_ || devices != devices_) {
        processes_ = std::move(processes);
        devices_ = std::move(devices);
        if (onChange_) {
            onChange_();
        }
    }
}

void PulseSources::forget() {
    identity_.clear();
    server_.reset();
    update({});
    deviceIDs_.clear(); // the next server counts anew
}

} // namespace velmoran
