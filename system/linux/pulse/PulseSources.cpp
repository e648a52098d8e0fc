#include "system/linux/pulse/PulseSources.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include <pulse/proplist.h>
#include <unistd.h>

namespace velmoran {

namespace {

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

template <typename Stream>
PulseModel::Stream streamFrom(const Stream& info, std::uint32_t device) {
    PulseModel::Stream stream;
    stream.client = indexFrom(info.client);
    stream.module = indexFrom(info.owner_module);
    stream.device = indexFrom(device);
    stream.isPaused = info.corked != 0;
    return stream;
}

} // namespace

PulseSources::PulseSources(PulseConnection& connection, SerialQueue& queue, ConnectionFacts& facts,
                           ProcessNaming& naming, std::string socket)
    : Listener(static_cast<pa_subscription_mask_t>(
          PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SOURCE |
          PA_SUBSCRIPTION_MASK_SINK_INPUT | PA_SUBSCRIPTION_MASK_SOURCE_OUTPUT |
          PA_SUBSCRIPTION_MASK_CLIENT)),
      connection_(connection),
      queue_(queue),
      facts_(facts),
      naming_(naming),
      identity_(facts_, naming, {}),
      socket_(std::move(socket)) {
    connection_.add(*this);
}

PulseSources::~PulseSources() {
    connection_.remove(*this);
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

void PulseSources::ask(pa_operation* question) {
    if (question) {
        ++unanswered_;
        asked(question);
    }
}

void PulseSources::answered() {
    if (--unanswered_ > 0) {
        return;
    }
    unanswered_ = 0;
    if (model_ != handedOver_) {
        handedOver_ = model_;
        hop([model = model_](PulseSources& self) { self.update(model); });
    }
}

void PulseSources::connected(pa_context* context) {
    disconnected();
    hop([](PulseSources& self) { self.facts_.server = self.findServer(); });
    ask(pa_context_get_client_info_list(
        context,
        [](pa_context*, const pa_client_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            if (end != 0) {
                self->answered();
                return;
            }
            self->clientCame(info->index, false);
            self->clientSpoke(*info, true);
        },
        this));
    ask(pa_context_get_sink_info_list(
        context,
        [](pa_context*, const pa_sink_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->take(*info) : self->answered();
        },
        this));
    ask(pa_context_get_source_info_list(
        context,
        [](pa_context*, const pa_source_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->take(*info) : self->answered();
        },
        this));
    ask(pa_context_get_source_output_info_list(
        context,
        [](pa_context* server, const pa_source_output_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->take(server, *info) : self->answered();
        },
        this));
    ask(pa_context_get_sink_input_info_list(
        context,
        [](pa_context* server, const pa_sink_input_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->take(server, *info) : self->answered();
        },
        this));
}

void PulseSources::disconnected() {
    model_ = {};
    handedOver_ = {};
    clients_.clear();
    unanswered_ = 0;
    hop([](PulseSources& self) { self.forget(); });
}

void PulseSources::changed(pa_context* context, pa_subscription_event_type_t event,
                           std::uint32_t index) {
    const auto type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    const bool isGone = type == PA_SUBSCRIPTION_EVENT_REMOVE;
    switch (event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) {
    case PA_SUBSCRIPTION_EVENT_CLIENT:
        if (isGone) {
            clients_.erase(index);
            hop([index](PulseSources& self) { self.identity_.left(index); });
            return;
        }
        if (type == PA_SUBSCRIPTION_EVENT_NEW) {
            clientCame(index, true);
        }
        askClient(context, index);
        return;
    case PA_SUBSCRIPTION_EVENT_SINK:
        if (!isGone) {
            ask(pa_context_get_sink_info_by_index(
                context, index,
                [](pa_context*, const pa_sink_info* info, int end, void* data) {
                    auto* self = static_cast<PulseSources*>(data);
                    end == 0 ? self->take(*info) : self->answered();
                },
                this));
            return;
        }
        model_.sinks.erase(index);
        break;
    case PA_SUBSCRIPTION_EVENT_SOURCE:
        if (!isGone) {
            ask(pa_context_get_source_info_by_index(
                context, index,
                [](pa_context*, const pa_source_info* info, int end, void* data) {
                    auto* self = static_cast<PulseSources*>(data);
                    end == 0 ? self->take(*info) : self->answered();
                },
                this));
            return;
        }
        model_.sources.erase(index);
        break;
    case PA_SUBSCRIPTION_EVENT_SOURCE_OUTPUT:
        if (!isGone) {
            ask(pa_context_get_source_output_info(
                context, index,
                [](pa_context* server, const pa_source_output_info* info, int end, void* data) {
                    auto* self = static_cast<PulseSources*>(data);
                    end == 0 ? self->take(server, *info) : self->answered();
                },
                this));
            return;
        }
        model_.recordings.erase(index);
        break;
    case PA_SUBSCRIPTION_EVENT_SINK_INPUT:
        if (!isGone) {
            ask(pa_context_get_sink_input_info(
                context, index,
                [](pa_context* server, const pa_sink_input_info* info, int end, void* data) {
                    auto* self = static_cast<PulseSources*>(data);
                    end == 0 ? self->take(server, *info) : self->answered();
                },
                this));
            return;
        }
        model_.playbacks.erase(index);
        break;
    default:
        return;
    }
    ++unanswered_;
    answered();
}

void PulseSources::clientCame(std::uint32_t index, bool isNew) {
    if (clients_.try_emplace(index, false).second) {
        hop([index, isNew](PulseSources& self) {
            self.identity_.appeared(index, self.facts_.server, isNew);
        });
    }
}

void PulseSources::askClient(pa_context* context, std::uint32_t index) {
    const auto client = clients_.find(index);
    if (client == clients_.end() || client->second) {
        return;
    }
    ask(pa_context_get_client_info(
        context, index,
        [](pa_context*, const pa_client_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->clientSpoke(*info, false) : self->answered();
        },
        this));
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

void PulseSources::askStreamer(pa_context* context, std::uint32_t index) {
    clientCame(index, true);
    if (clients_[index]) {
        return;
    }
    ask(pa_context_get_client_info(
        context, index,
        [](pa_context*, const pa_client_info* info, int end, void* data) {
            auto* self = static_cast<PulseSources*>(data);
            end == 0 ? self->clientSpoke(*info, true) : self->answered();
        },
        this));
}

void PulseSources::take(const pa_sink_info& info) {
    PulseModel::Device sink;
    sink.name = textOf(info.description);
    sink.isRunning = info.state == PA_SINK_RUNNING;
    model_.sinks[info.index] = std::move(sink);
}

void PulseSources::take(const pa_source_info& info) {
    PulseModel::Device source;
    source.name = textOf(info.description);
    source.monitorOfSink = indexFrom(info.monitor_of_sink);
    source.isRunning = info.state == PA_SOURCE_RUNNING;
    model_.sources[info.index] = std::move(source);
}

void PulseSources::take(pa_context* context, const pa_source_output_info& info) {
    const auto& stream = model_.recordings[info.index] = streamFrom(info, info.source);
    if (stream.client) {
        askStreamer(context, *stream.client);
    }
}

void PulseSources::take(pa_context* context, const pa_sink_input_info& info) {
    const auto& stream = model_.playbacks[info.index] = streamFrom(info, info.sink);
    if (stream.client) {
        askStreamer(context, *stream.client);
    }
}

// The process at the other end of this program's own connection.
std::optional<pid_t> PulseSources::findServer() {
    const auto own = facts_.socketsOf(::getpid());
    for (const auto& connection : facts_.connections()) {
        if (connection.name != socket_ ||
            std::find(own.begin(), own.end(), connection.clientEnd) == own.end()) {
            continue;
        }
        for (const auto& [end, holders] : facts_.holdersOf({connection.serverEnd})) {
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

void PulseSources::update(const PulseModel& model) {
    std::vector<AudioProcess> processes;
    std::map<std::uint32_t, std::uint32_t> objectIDs;
    for (const auto& [client, use] : model.uses()) {
        const auto known = objectIDs_.find(client);
        const auto id = known != objectIDs_.end() ? known->second : ++lastObjectID_;
        objectIDs[client] = id;
        identity_.opened(client);
        const auto who = identity_.who(client);
        naming_.pin(id, who.app);
        AudioProcess process;
        process.objectID = id;
        process.pid = who.pid;
        process.isRunningInput = use.microphone;
        process.isRunningOutput = use.speaker;
        processes.push_back(std::move(process));
    }
    for (const auto& [client, id] : objectIDs_) {
        if (!objectIDs.contains(client)) {
            naming_.unpin(id);
        }
    }
    objectIDs_ = std::move(objectIDs);

    std::vector<AudioDeviceInfo> devices;
    const auto add = [&](bool isSource, std::uint32_t index, const PulseModel::Device& device) {
        AudioDeviceInfo info;
        info.objectID = deviceIDOf(isSource, index);
        info.name = device.name.empty() ? words().text("Unknown device") : device.name;
        info.hasInput = isSource;
        info.hasOutput = !isSource;
        info.isRunningSomewhere = device.isRunning;
        devices.push_back(std::move(info));
    };
    for (const auto& [index, source] : model.sources) {
        if (!source.monitorOfSink) {
            add(true, index, source);
        }
    }
    for (const auto& [index, sink] : model.sinks) {
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
    facts_.server.reset();
    update({});
    deviceIDs_.clear(); // the next server counts anew
}

} // namespace velmoran
