#include "system/linux/pipewire/PipeWireCore.h"

#include "system/linux/pipewire/DefaultOutput.h"
#include "system/linux/pipewire/GraphRecords.h"
#include "system/linux/pipewire/MuteAnnouncement.h"
#include "system/linux/pipewire/SightCheck.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <string_view>
#include <utility>

#include <sys/epoll.h>
#include <unistd.h>

#include "system/linux/pipewire/SpaDict.h"

#include <pipewire/impl.h>

namespace velmoran {

namespace {

struct LiveCore final : PipeWireCore {
    // An object of the server's that this side has asked to be kept told about.
    struct Bound {
        LiveCore* owner = nullptr;
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
    spa_hook ownHook{}; ///< of this connection's client
    spa_hook registryHook{};
    Subscription watch;
    std::map<std::uint32_t, std::unique_ptr<Bound>> bound;
    DefaultOutput defaultOutput;
    SightCheck sight;
    bool isServerKnown = false;
    int syncSequence = 0;
    int syncsDone = 0;
    bool isComplete = false;
    bool isLost = false;

    LiveCore(EventLoop& eventLoop, PipeWireListener& receiver)
        : events(eventLoop),
          listener(receiver),
          defaultOutput(eventLoop, receiver) {}
    LiveCore(const LiveCore&) = delete;
    LiveCore& operator=(const LiveCore&) = delete;

    ~LiveCore() override {
        watch.reset();
        bound.clear();
        defaultOutput.forget();
        if (registry != nullptr) {
            spa_hook_remove(&registryHook);
            pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
        }
        if (core != nullptr) {
            spa_hook_remove(&ownHook);
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

    bool start(int socket) {
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
        static const pw_core_events coreEvents{
            .version = PW_VERSION_CORE_EVENTS, .info = onInfo, .done = onDone, .error = onError};
        pw_core_add_listener(core, &coreHook, &coreEvents, this);
        static const pw_client_events ownEvents{
            .version = PW_VERSION_CLIENT_EVENTS, .info = onOwnInfo, .permissions = onPermissions};
        pw_client_add_listener(pw_core_get_client(core), &ownHook, &ownEvents, this);
        registry = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
        if (registry == nullptr) {
            return false;
        }
        static const pw_registry_events registryEvents{.version = PW_VERSION_REGISTRY_EVENTS,
                                                       .global = onGlobal,
                                                       .global_remove = onGlobalRemove};
        pw_registry_add_listener(registry, &registryHook, &registryEvents, this);
        syncSequence = pw_core_sync(core, PW_ID_CORE, 0);
        watch = events.watch(pw_loop_get_fd(loop), EPOLLIN, [this](std::uint32_t) {
            pw_loop_iterate(loop, 0);
            endTurn();
            // The listener may end this connection now.
            listener.turnEnded();
        });
        // Whoever looks meanwhile sees a connection that is nobody's until its first word is there.
        pw_loop_iterate(loop, 0);
        endTurn();
        return static_cast<bool>(watch);
    }

    bool waitForPicture(Seconds patience) override {
        iterateUntil([this] { return isComplete; }, patience);
        return isComplete || isOver();
    }
    void waitFor(Seconds time) override {
        iterateUntil([] { return false; }, time);
    }
    void iterateUntil(const std::function<bool()>& condition, Seconds patience) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(patience);
        while (!condition() && !isOver()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                end - std::chrono::steady_clock::now());
            if (left.count() <= 0) {
                return;
            }
            pw_loop_iterate(loop, static_cast<int>(left.count()));
            endTurn();
        }
    }

    bool areRemovalsInDoubt() const override { return sight.areRemovalsInDoubt(); }

    void checkSight() override {
        sight.doubt();
        askForSight();
    }

    [[nodiscard]] bool isOver() const { return isLost || sight.isTaken(); }

    void endTurn() {
        if (isOver() && watch) {
            watch.reset();
            listener.serverLost();
        } else {
            askForSight();
        }
    }

    void askForSight() {
        if (!isOver() && sight.beginQuestion()) {
            pw_client_get_permissions(pw_core_get_client(core), 0, UINT32_MAX);
        }
    }

    static void onOwnInfo(void* data, const pw_client_info* info) {
        static_cast<LiveCore*>(data)->sight.setOwnClient(info->id);
    }

    static void onPermissions(void* data, std::uint32_t, std::uint32_t count,
                              const pw_permission* permissions) {
        auto* self = static_cast<LiveCore*>(data);
        const bool mayAllBeSeen = std::all_of(permissions, permissions + count, [](auto& each) {
            return PW_PERM_IS_R(each.permissions);
        });
        for (const auto id : self->sight.answered(mayAllBeSeen)) {
            self->forget(id);
        }
    }

    static void onInfo(void* data, const pw_core_info* info) {
        auto* self = static_cast<LiveCore*>(data);
        if (!std::exchange(self->isServerKnown, true)) {
            self->listener.serverKnown(info->cookie);
        }
    }

    static void onDone(void* data, std::uint32_t id, int sequence) {
        auto* self = static_cast<LiveCore*>(data);
        if (id != PW_ID_CORE) {
            return;
        }
        self->defaultOutput.done(sequence);
        if (sequence != self->syncSequence || self->isComplete) {
            return;
        }
        // The first round brings the objects' names, and asks about them; the second the answers.
        if (++self->syncsDone < 2) {
            self->checkSight();
            self->syncSequence = pw_core_sync(self->core, PW_ID_CORE, 0);
            return;
        }
        if (self->isOver()) {
            return;
        }
        self->isComplete = true;
        self->listener.pictureIsComplete();
    }

    static void onError(void* data, std::uint32_t id, int, int result, const char*) {
        // Errors of other objects are those that were gone before they could be asked about.
        auto* self = static_cast<LiveCore*>(data);
        if ((id == PW_ID_CORE && result == -EACCES) || id == PW_ID_CLIENT) {
            self->sight.refused();
        } else if (id == PW_ID_CORE) {
            // The library says it in the system's words, and once: nothing else comes then.
            constexpr std::array ends = {-EPIPE,  -ECONNRESET, -ECONNABORTED, -ENOTCONN,     -EBADF,
                                         -EPROTO, -ENOMEM,     -EINVAL,       -ECONNREFUSED, -EIO};
            self->isLost = self->isLost || std::ranges::find(ends, result) != ends.end();
        }
    }

    static void onGlobal(void* data, std::uint32_t id, std::uint32_t, const char* type,
                         std::uint32_t, const spa_dict* props) {
        auto* self = static_cast<LiveCore*>(data);
        const std::string_view kind = type;
        const auto serial = numberIn<GraphSerial>(props, PW_KEY_OBJECT_SERIAL);
        if (self->sight.appeared(id, serial.value_or(0))) {
            self->forget(id);
        }
        if (!serial) {
            return;
        }
        if (kind == PW_TYPE_INTERFACE_Client) {
            self->listener.clientAppeared(id, *serial, pidIn(props, PW_KEY_SEC_PID));
            self->defaultOutput.clientMayRead();
            static const pw_client_events clientEvents{.version = PW_VERSION_CLIENT_EVENTS,
                                                       .info = onClientInfo};
            self->bind(id, type, PW_VERSION_CLIENT, *serial, &clientEvents);
        } else if (kind == PW_TYPE_INTERFACE_Node) {
            static const pw_node_events nodeEvents{.version = PW_VERSION_NODE_EVENTS,
                                                   .info = onNodeInfo};
            if (auto* node = self->bind(id, type, PW_VERSION_NODE, *serial, &nodeEvents)) {
                node->node.id = id;
                node->node.serial = *serial;
                node->node.clientID = numberIn<std::uint32_t>(props, PW_KEY_CLIENT_ID);
                update(node->node, props);
                if (isSink(*node)) {
                    self->defaultOutput.sinkMayMatter();
                }
            }
        } else if (kind == PW_TYPE_INTERFACE_Port) {
            self->listener.portChanged({id, *serial, textIn(props, PW_KEY_PORT_MONITOR) == "true"});
        } else if (kind == PW_TYPE_INTERFACE_Link) {
            static const pw_link_events linkEvents{.version = PW_VERSION_LINK_EVENTS,
                                                   .info = onLinkInfo};
            if (auto* link = self->bind(id, type, PW_VERSION_LINK, *serial, &linkEvents)) {
                link->link.id = id;
                link->link.serial = *serial;
            }
        } else if (kind == PW_TYPE_INTERFACE_Metadata &&
                   textIn(props, PW_KEY_METADATA_NAME) == "default") {
            self->defaultOutput.begin(self->core, self->registry, id);
        }
    }

    static void onGlobalRemove(void* data, std::uint32_t id) {
        static_cast<LiveCore*>(data)->sight.removed(id);
    }

    void forget(std::uint32_t id) {
        if (const auto object = bound.find(id); object != bound.end()) {
            if (isSink(*object->second)) {
                defaultOutput.sinkMayMatter();
            }
            bound.erase(object);
        }
        defaultOutput.end(id);
        listener.objectRemoved(id);
    }

    Bound* bind(std::uint32_t id, const char* type, std::uint32_t version, GraphSerial serial,
                const void* table) {
        static const pw_proxy_events proxyEvents{.version = PW_VERSION_PROXY_EVENTS,
                                                 .destroy = onProxyDestroyed,
                                                 .removed = onProxyRemoved};
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
    static void onProxyRemoved(void* data) { pw_proxy_destroy(static_cast<Bound*>(data)->proxy); }

    static void onProxyDestroyed(void* data) {
        auto* object = static_cast<Bound*>(data);
        spa_hook_remove(&object->proxyHook);
        spa_hook_remove(&object->objectHook);
        object->proxy = nullptr;
    }

    static void onClientInfo(void* data, const pw_client_info* info) {
        const auto* object = static_cast<Bound*>(data);
        // Of a change that left them as they were there are none.
        if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0 && info->props != nullptr) {
            object->owner->listener.clientDescribed(object->serial,
                                                    pidIn(info->props, PW_KEY_APP_PROCESS_ID),
                                                    textIn(info->props, PW_KEY_CLIENT_API));
        }
    }

    static bool isSink(const Bound& object) {
        return object.node.mediaClass.starts_with("Audio/Sink");
    }

    static void onNodeInfo(void* data, const pw_node_info* info) {
        auto* object = static_cast<Bound*>(data);
        update(object->node, *info);
        object->mute.nodeChanged(object->proxy, *info);
        if (object->node.state == GraphNode::State::running) {
            // Whoever makes it run is to be seen.
            object->owner->sight.doubt();
        }
        object->owner->listener.nodeChanged(object->node);
    }

    static void onLinkInfo(void* data, const pw_link_info* info) {
        auto* object = static_cast<Bound*>(data);
        update(object->link, *info);
        object->owner->listener.linkChanged(object->link);
    }
};

} // namespace

std::unique_ptr<PipeWireCore> PipeWireCore::open(EventLoop& loop, int socket,
                                                 PipeWireListener& listener) {
    auto live = std::make_unique<LiveCore>(loop, listener);
    return live->start(socket) ? std::move(live) : nullptr;
}

} // namespace velmoran
