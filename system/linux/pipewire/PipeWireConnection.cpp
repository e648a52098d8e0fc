#include "system/linux/pipewire/PipeWireConnection.h"

#include "core/base/Json.h"
#include "system/linux/pipewire/MuteAnnouncement.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>

#include <sys/epoll.h>
#include <unistd.h>

#include "system/linux/pipewire/SpaDict.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/impl.h>

namespace velmoran {

namespace {

/// Under which the session manager keeps its choice, as {"name": "…"}.
constexpr const char* defaultOutputKey = "default.audio.sink";
// How long after a client has come the metadata is read again; and after a sink has come or gone,
// which is when the default changes.
constexpr Seconds untilReadAgain = 1.0;
constexpr Seconds untilReadForSinks = 0.1;

template <typename Number>
std::optional<Number> numberIn(const spa_dict* dict, const char* key) {
    const auto text = textIn(dict, key);
    Number number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && rest == text.data() + text.size() ? std::optional(number)
                                                                     : std::nullopt;
}

std::optional<pid_t> pidIn(const spa_dict* dict, const char* key) {
    const auto pid = numberIn<pid_t>(dict, key);
    return pid && *pid > 0 ? pid : std::nullopt;
}

// Keeps what is known when the server doesn't repeat a key.
void take(std::string& to, const spa_dict* dict, const char* key) {
    if (const auto value = textIn(dict, key); value.data() != nullptr) {
        to = value;
    }
}

GraphNode::State stateOf(pw_node_state state) {
    switch (state) {
    case PW_NODE_STATE_RUNNING:
        return GraphNode::State::running;
    case PW_NODE_STATE_IDLE:
        return GraphNode::State::idle;
    case PW_NODE_STATE_SUSPENDED:
        return GraphNode::State::suspended;
    case PW_NODE_STATE_CREATING:
        return GraphNode::State::creating;
    case PW_NODE_STATE_ERROR:
        return GraphNode::State::error;
    }
    return GraphNode::State::error;
}

} // namespace

struct PipeWireConnection::State {
    // An object of the server's that this side has asked to be kept told about.
    struct Bound {
        State* owner = nullptr;
        pw_proxy* proxy = nullptr;
        spa_hook proxyHook{};
        spa_hook objectHook{};
        GraphSerial serial = 0;
        GraphNode node;
        GraphLink link;
        MuteAnnouncement mute;

        Bound() = default;
        Bound(const Bound&) = delete;
        Bound& operator=(const Bound&) = delete;
        ~Bound() {
            if (proxy != nullptr) {
                spa_hook_remove(&proxyHook);
                spa_hook_remove(&objectHook);
                pw_proxy_destroy(proxy);
            }
        }
    };

    EventLoop& events;
    PipeWireListener& listener;
    pw_loop* loop = nullptr;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    spa_hook coreHook{};
    spa_hook registryHook{};
    Subscription watch;
    std::map<std::uint32_t, std::unique_ptr<Bound>> bound;
    struct Metadata {
        std::uint32_t id = 0;
        GraphSerial serial = 0;
    };
    std::optional<Metadata> defaultMetadata; ///< the session manager's sign of life
    int metadataSequence = 0;                ///< of the last time that it was read
    bool hasDefaultOutput = false;           ///< in what came since then
    Subscription nextReading;
    bool isReadOnceMore = false;
    int syncSequence = 0;
    int syncsDone = 0;
    bool isComplete = false;
    bool isLost = false;

    State(EventLoop& eventLoop, PipeWireListener& told) : events(eventLoop), listener(told) {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ~State() {
        watch.reset();
        bound.clear();
        if (registry != nullptr) {
            spa_hook_remove(&registryHook);
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
        }
        if (core != nullptr) {
            spa_hook_remove(&coreHook);
            pw_core_disconnect(core);
        }
        if (context != nullptr) {
            pw_context_destroy(context);
        }
        if (loop != nullptr) {
            pw_loop_leave(loop);
            pw_loop_destroy(loop);
        }
    }

    bool open(int socket) {
        static const bool isInitialised = [] {
            pw_init(nullptr, nullptr);
            // It speaks on standard error of having no configuration, which is meant to be so.
            if (std::getenv("PIPEWIRE_DEBUG") == nullptr) { // NOLINT(concurrency-mt-unsafe)
                pw_log_set_level(SPA_LOG_LEVEL_NONE);
            }
            return true;
        }();
        static_cast<void>(isInitialised);
        loop = pw_loop_new(nullptr);
        if (loop == nullptr) {
            ::close(socket);
            return false;
        }
        pw_loop_enter(loop);
        // No configuration file: nothing but the protocol is needed, and no thread for data.
        context = pw_context_new(loop, pw_properties_new(PW_KEY_CONFIG_NAME, "null", nullptr), 0);
        if (context == nullptr ||
            pw_context_load_module(context, "libpipewire-module-protocol-native", nullptr,
                                   nullptr) == nullptr) {
            ::close(socket);
            return false;
        }
        // Only for the default output; what else there is comes without it.
        pw_context_load_module(context, "libpipewire-module-metadata", nullptr, nullptr);
        pw_data_loop_stop(pw_context_get_data_loop(context));
        core = pw_context_connect_fd(context, socket,
                                     pw_properties_new(PW_KEY_APP_NAME, "Velmoran",
                                                       PW_KEY_MEDIA_CATEGORY, "Manager", nullptr),
                                     0);
        if (core == nullptr) {
            return false;
        }
        static const pw_core_events coreEvents = [] {
            pw_core_events table{};
            table.version = PW_VERSION_CORE_EVENTS;
            table.done = onDone;
            table.error = onError;
            return table;
        }();
        pw_core_add_listener(core, &coreHook, &coreEvents, this);
        registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
        if (registry == nullptr) {
            return false;
        }
        static const pw_registry_events registryEvents = [] {
            pw_registry_events table{};
            table.version = PW_VERSION_REGISTRY_EVENTS;
            table.global = onGlobal;
            table.global_remove = onGlobalRemove;
            return table;
        }();
        pw_registry_add_listener(registry, &registryHook, &registryEvents, this);
        syncSequence = pw_core_sync(core, PW_ID_CORE, 0);
        watch = events.watch(pw_loop_get_fd(loop), EPOLLIN, [this](std::uint32_t) { iterate(0); });
        return static_cast<bool>(watch);
    }

    void iterate(int timeoutMilliseconds) {
        pw_loop_iterate(loop, timeoutMilliseconds);
        if (isLost) {
            watch.reset();
            listener.connectionLost();
        }
        // The listener may end this connection now.
        listener.turnEnded();
    }

    static void onDone(void* data, std::uint32_t id, int sequence) {
        auto* state = static_cast<State*>(data);
        if (id == PW_ID_CORE && sequence == state->metadataSequence && !state->hasDefaultOutput) {
            state->listener.defaultOutputIs({});
        }
        if (id != PW_ID_CORE || sequence != state->syncSequence || state->isComplete) {
            return;
        }
        // The first round brings the objects' names, and asks about them; the second the answers.
        if (++state->syncsDone < 2) {
            state->syncSequence = pw_core_sync(state->core, PW_ID_CORE, 0);
            return;
        }
        state->isComplete = true;
        state->listener.pictureIsComplete();
    }

    static void onError(void* data, std::uint32_t id, int, int result, const char*) {
        // Errors of single objects are those that were gone before they could be asked about.
        if (id == PW_ID_CORE && result == -EPIPE) {
            static_cast<State*>(data)->isLost = true;
        }
    }

    static void onGlobal(void* data, std::uint32_t id, std::uint32_t, const char* type,
                         std::uint32_t, const spa_dict* props) {
        auto* state = static_cast<State*>(data);
        const std::string_view kind = type;
        const auto serial = numberIn<GraphSerial>(props, PW_KEY_OBJECT_SERIAL);
        if (!serial) {
            return;
        }
        if (kind == PW_TYPE_INTERFACE_Client) {
            state->listener.clientAppeared(id, *serial, pidIn(props, PW_KEY_SEC_PID));
            state->clientMayRead();
            static const pw_client_events clientEvents = [] {
                pw_client_events table{};
                table.version = PW_VERSION_CLIENT_EVENTS;
                table.info = onClientInfo;
                return table;
            }();
            state->bind(id, type, PW_VERSION_CLIENT, *serial, &clientEvents);
        } else if (kind == PW_TYPE_INTERFACE_Node) {
            static const pw_node_events nodeEvents = [] {
                pw_node_events table{};
                table.version = PW_VERSION_NODE_EVENTS;
                table.info = onNodeInfo;
                return table;
            }();
            if (auto* node = state->bind(id, type, PW_VERSION_NODE, *serial, &nodeEvents)) {
                node->node.id = id;
                node->node.serial = *serial;
                node->node.clientID = numberIn<std::uint32_t>(props, PW_KEY_CLIENT_ID);
                takeNode(node->node, props);
                if (isSink(*node)) {
                    state->sinkMayMatter();
                }
            }
            state->listener.nodeAppeared(numberIn<std::uint32_t>(props, PW_KEY_CLIENT_ID));
        } else if (kind == PW_TYPE_INTERFACE_Port) {
            GraphPort port;
            port.id = id;
            port.serial = *serial;
            port.isMonitor = textIn(props, PW_KEY_PORT_MONITOR) == "true";
            state->listener.portIs(port);
        } else if (kind == PW_TYPE_INTERFACE_Link) {
            static const pw_link_events linkEvents = [] {
                pw_link_events table{};
                table.version = PW_VERSION_LINK_EVENTS;
                table.info = onLinkInfo;
                return table;
            }();
            if (auto* link = state->bind(id, type, PW_VERSION_LINK, *serial, &linkEvents)) {
                link->link.id = id;
                link->link.serial = *serial;
            }
        } else if (kind == PW_TYPE_INTERFACE_Metadata &&
                   textIn(props, PW_KEY_METADATA_NAME) == "default") {
            state->defaultMetadata = {id, *serial};
            state->listener.sessionManagerIs(true);
            state->readMetadata();
        }
    }

    static void onGlobalRemove(void* data, std::uint32_t id) {
        auto* state = static_cast<State*>(data);
        if (const auto object = state->bound.find(id); object != state->bound.end()) {
            if (isSink(*object->second)) {
                state->sinkMayMatter();
            }
            state->bound.erase(object);
        }
        if (state->defaultMetadata && state->defaultMetadata->id == id) {
            state->defaultMetadata.reset();
            state->listener.sessionManagerIs(false);
            state->listener.defaultOutputIs({});
        }
        state->listener.objectRemoved(id);
    }

    // While a client's first reading of the metadata is answered, PipeWire 0.3.65 tells of changes
    // to nobody else, then or later. Every client that comes may be one.
    void clientMayRead() {
        if (nextReading) {
            isReadOnceMore = true;
        } else {
            readMetadataIn(untilReadAgain);
        }
    }

    void sinkMayMatter() {
        isReadOnceMore = true;
        readMetadataIn(untilReadForSinks);
    }

    void readMetadataIn(Seconds delay) {
        nextReading = events.after(delay, [this] {
            nextReading.reset();
            if (std::exchange(isReadOnceMore, false)) {
                readMetadataIn(untilReadAgain);
            }
            readMetadata();
        });
    }

    void readMetadata() {
        if (!defaultMetadata) {
            return;
        }
        static const pw_metadata_events metadataEvents = [] {
            pw_metadata_events table{};
            table.version = PW_VERSION_METADATA_EVENTS;
            table.property = onMetadata;
            return table;
        }();
        hasDefaultOutput = false;
        bind(defaultMetadata->id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA,
             defaultMetadata->serial, &metadataEvents);
        metadataSequence = pw_core_sync(core, PW_ID_CORE, 0);
    }

    // Without a key all is cleared; without a value that key is.
    static int onMetadata(void* data, std::uint32_t subject, const char* key, const char*,
                          const char* value) {
        if (subject == PW_ID_CORE &&
            (key == nullptr || key == std::string_view(defaultOutputKey))) {
            const auto choice = Json::parse(key == nullptr || value == nullptr ? "" : value,
                                            nullptr, /*allow_exceptions=*/false);
            const auto name = choice.is_object() ? choice.find("name") : choice.end();
            auto* state = static_cast<Bound*>(data)->owner;
            state->hasDefaultOutput = true;
            state->listener.defaultOutputIs(
                name != choice.end() && name->is_string() ? name->get<std::string>() : "");
        }
        return 0;
    }

    Bound* bind(std::uint32_t id, const char* type, std::uint32_t version, GraphSerial serial,
                const void* table) {
        static const pw_proxy_events proxyEvents = [] {
            pw_proxy_events events_{};
            events_.version = PW_VERSION_PROXY_EVENTS;
            events_.destroy = onProxyDestroyed;
            events_.removed = onProxyRemoved;
            return events_;
        }();
        auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(registry, id, type, version, 0));
        if (proxy == nullptr) {
            return nullptr;
        }
        auto object = std::make_unique<Bound>();
        object->owner = this;
        object->proxy = proxy;
        object->serial = serial;
        pw_proxy_add_listener(proxy, &object->proxyHook, &proxyEvents, object.get());
        pw_proxy_add_object_listener(proxy, &object->objectHook, table, object.get());
        return (bound[id] = std::move(object)).get();
    }

    // The server has forgotten this side's handle; the object is then about to be removed.
    static void onProxyRemoved(void* data) {
        auto* object = static_cast<Bound*>(data);
        pw_proxy_destroy(object->proxy);
    }

    static void onProxyDestroyed(void* data) {
        auto* object = static_cast<Bound*>(data);
        spa_hook_remove(&object->proxyHook);
        spa_hook_remove(&object->objectHook);
        object->proxy = nullptr;
    }

    static void onClientInfo(void* data, const pw_client_info* info) {
        const auto* object = static_cast<Bound*>(data);
        if (info->props != nullptr) {
            object->owner->listener.clientDescribed(
                object->serial, pidIn(info->props, PW_KEY_APP_PROCESS_ID),
                textIn(info->props, PW_KEY_CLIENT_API) == "pipewire-pulse");
        }
    }

    static bool isSink(const Bound& object) {
        return object.node.mediaClass.starts_with("Audio/Sink");
    }

    static void takeNode(GraphNode& node, const spa_dict* props) {
        take(node.mediaClass, props, PW_KEY_MEDIA_CLASS);
        take(node.mediaRole, props, PW_KEY_MEDIA_ROLE);
        take(node.description, props, PW_KEY_NODE_DESCRIPTION);
        take(node.name, props, PW_KEY_NODE_NAME);
        take(node.linkGroup, props, PW_KEY_NODE_LINK_GROUP);
    }

    static void onNodeInfo(void* data, const pw_node_info* info) {
        auto* object = static_cast<Bound*>(data);
        if (info->props != nullptr) {
            takeNode(object->node, info->props);
        }
        object->node.state = stateOf(info->state);
        object->mute.nodeIs(object->proxy, *info);
        object->owner->listener.nodeIs(object->node);
    }

    static void onLinkInfo(void* data, const pw_link_info* info) {
        auto* object = static_cast<Bound*>(data);
        object->link.outputNodeID = info->output_node_id;
        object->link.outputPortID = info->output_port_id;
        object->link.inputNodeID = info->input_node_id;
        object->link.state =
            info->state >= PW_LINK_STATE_PAUSED ? GraphLink::State::set : GraphLink::State::unset;
        object->owner->listener.linkIs(object->link);
    }
};

#pragma GCC diagnostic pop

PipeWireConnection::PipeWireConnection(std::unique_ptr<State> state) : state_(std::move(state)) {}

PipeWireConnection::~PipeWireConnection() = default;

std::unique_ptr<PipeWireConnection> PipeWireConnection::open(EventLoop& loop, int socket,
                                                             PipeWireListener& listener) {
    auto state = std::make_unique<State>(loop, listener);
    if (!state->open(socket)) {
        return nullptr;
    }
    return std::unique_ptr<PipeWireConnection>(new PipeWireConnection(std::move(state)));
}

bool PipeWireConnection::waitForPicture(Seconds bound) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(bound);
    while (!state_->isComplete && !state_->isLost) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pw_loop_iterate(state_->loop, static_cast<int>(left.count()));
    }
    if (state_->isLost) {
        state_->watch.reset();
        state_->listener.connectionLost();
    }
    return true;
}

} // namespace velmoran
