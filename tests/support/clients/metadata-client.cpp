// Chooses the default output and reads the metadata anew in one breath, as if another client came
// at that moment: usage: metadata-client NODE-NAME. Ends when the server has taken both.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <pipewire/extensions/metadata.h>
#include <pipewire/impl.h>
#include <pipewire/pipewire.h>

namespace {

struct Client {
    Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() {
        for (auto* proxy : proxies) {
            pw_proxy_destroy(proxy);
        }
        if (core) {
            pw_core_disconnect(core);
        }
        pw_context_destroy(context);
        pw_main_loop_destroy(loop);
    }

    pw_main_loop* loop = nullptr;
    pw_context* context = nullptr;
    pw_core* core = nullptr;
    pw_registry* registry = nullptr;
    std::vector<pw_proxy*> proxies; ///< the registry's and all others
    std::uint32_t metadataID = PW_ID_ANY;
    int sequence = 0;
};

void onGlobal(void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
              const spa_dict* props) {
    const char* name = props ? spa_dict_lookup(props, PW_KEY_METADATA_NAME) : nullptr;
    if (std::strcmp(type, PW_TYPE_INTERFACE_Metadata) == 0 && name &&
        std::strcmp(name, "default") == 0) {
        static_cast<Client*>(data)->metadataID = id;
    }
}

void onDone(void* data, std::uint32_t id, int sequence) {
    auto* client = static_cast<Client*>(data);
    if (id == PW_ID_CORE && sequence == client->sequence) {
        pw_main_loop_quit(client->loop);
    }
}

// All that was asked until now is answered when it returns.
void waitForServer(Client& client) {
    client.sequence = pw_core_sync(client.core, PW_ID_CORE, 0);
    pw_main_loop_run(client.loop);
}

pw_metadata* bindMetadata(Client& client) {
    void* bound = pw_registry_bind(client.registry, client.metadataID, PW_TYPE_INTERFACE_Metadata,
                                   PW_VERSION_METADATA, 0);
    client.proxies.push_back(static_cast<pw_proxy*>(bound));
    return static_cast<pw_metadata*>(bound);
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        return 2;
    }
    const auto value = "{\"name\":\"" + std::string(arguments[1]) + "\"}";
    pw_init(nullptr, nullptr);
    pw_core_events coreEvents{};
    coreEvents.version = PW_VERSION_CORE_EVENTS;
    coreEvents.done = onDone;
    pw_registry_events registryEvents{};
    registryEvents.version = PW_VERSION_REGISTRY_EVENTS;
    registryEvents.global = onGlobal;
    spa_hook coreHook{};
    spa_hook registryHook{};
    Client client;
    client.loop = pw_main_loop_new(nullptr);
    client.context = pw_context_new(pw_main_loop_get_loop(client.loop), nullptr, 0);
    client.core = pw_context_connect(client.context, nullptr, 0);
    if (!client.core) {
        return 1;
    }
    pw_core_add_listener(client.core, &coreHook, &coreEvents, &client);
    client.registry = pw_core_get_registry(client.core, PW_VERSION_REGISTRY, 0);
    client.proxies.push_back(reinterpret_cast<pw_proxy*>(client.registry));
    pw_registry_add_listener(client.registry, &registryHook, &registryEvents, &client);
    waitForServer(client);
    if (client.metadataID == PW_ID_ANY) {
        return 1;
    }
    auto* metadata = bindMetadata(client);
    waitForServer(client);
    pw_metadata_set_property(metadata, PW_ID_CORE, "default.audio.sink", "Spa:String:JSON",
                             value.c_str());
    bindMetadata(client);
    waitForServer(client);
    return 0;
}
