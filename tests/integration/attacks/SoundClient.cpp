#include "integration/attacks/SoundClient.h"

#include <cerrno>
#include <chrono>
#include <stdexcept>

namespace velmoran::attacks {

namespace {

using Clock = std::chrono::steady_clock;

pw_properties* written(const Properties& properties) {
    auto* result = pw_properties_new(nullptr, nullptr);
    for (const auto& [key, value] : properties) {
        pw_properties_set(result, key.c_str(), value.c_str());
    }
    return result;
}

} // namespace

std::string SoundClient::Global::property(const std::string& key) const {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string() : found->second;
}

SoundClient::SoundClient() {
    pw_init(nullptr, nullptr);
    loop_ = pw_loop_new(nullptr);
    context_ = pw_context_new(loop_, nullptr, 0);
    core_ = pw_context_connect(context_, nullptr, 0);
    if (core_ == nullptr) {
        pw_context_destroy(context_);
        pw_loop_destroy(loop_);
        throw std::runtime_error("the sound server can't be reached");
    }
    coreEvents_.version = PW_VERSION_CORE_EVENTS;
    coreEvents_.done = [](void* data, std::uint32_t id, int sequence) {
        if (id == PW_ID_CORE) {
            static_cast<SoundClient*>(data)->done_ = sequence;
        }
    };
    coreEvents_.error = [](void* data, std::uint32_t id, int, int result, const char*) {
        auto* client = static_cast<SoundClient*>(data);
        client->isLost_ = client->isLost_ || (id == PW_ID_CORE && result == -EPIPE);
    };
    pw_core_add_listener(core_, &coreHook_, &coreEvents_, this);
    registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
    registryEvents_.version = PW_VERSION_REGISTRY_EVENTS;
    registryEvents_.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type,
                                std::uint32_t, const spa_dict* dict) {
        Global global{.type = type, .properties = {}};
        for (std::uint32_t i = 0; dict != nullptr && i < dict->n_items; ++i) {
            global.properties[dict->items[i].key] = dict->items[i].value;
        }
        static_cast<SoundClient*>(data)->globals_[id] = std::move(global);
    };
    registryEvents_.global_remove = [](void* data, std::uint32_t id) {
        static_cast<SoundClient*>(data)->globals_.erase(id);
    };
    pw_registry_add_listener(registry_, &registryHook_, &registryEvents_, this);
    roundTrip();
}

SoundClient::~SoundClient() {
    spa_hook_remove(&registryHook_);
    spa_hook_remove(&coreHook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
    pw_core_disconnect(core_);
    pw_context_destroy(context_);
    pw_loop_destroy(loop_);
}

void SoundClient::roundTrip(support::Bound bound) {
    sequence_ = pw_core_sync(core_, PW_ID_CORE, sequence_);
    if (!hearUntil([this] { return done_ == sequence_; }, bound)) {
        throw std::runtime_error("the sound server doesn't answer");
    }
}

bool SoundClient::hearUntil(const std::function<bool()>& condition, support::Bound bound) {
    const auto end = Clock::now() + bound;
    while (!condition()) {
        if (isLost_) {
            throw Lost();
        }
        const auto left = std::chrono::ceil<support::Bound>(end - Clock::now()).count();
        if (left <= 0) {
            return false;
        }
        iterate(static_cast<int>(left < 5 ? left : 5));
    }
    return true;
}

void SoundClient::iterate(int milliseconds) {
    pw_loop_enter(loop_);
    pw_loop_iterate(loop_, milliseconds);
    pw_loop_leave(loop_);
}

void SoundClient::destroy(std::uint32_t global) {
    pw_registry_destroy(registry_, global);
}

void SoundClient::permit(std::uint32_t client, std::uint32_t object, std::uint32_t permissions) {
    auto* proxy = static_cast<pw_client*>(
        pw_registry_bind(registry_, client, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, 0));
    if (proxy == nullptr) {
        throw std::runtime_error("the client can't be bound");
    }
    const pw_permission permission{object, permissions};
    pw_client_update_permissions(proxy, 1, &permission);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(proxy));
}

pw_proxy* SoundClient::create(const std::string& factory, const Properties& properties,
                              const char* type, std::uint32_t version) {
    auto* given = written(properties);
    auto* object = static_cast<pw_proxy*>(
        pw_core_create_object(core_, factory.c_str(), type, version, &given->dict, 0));
    pw_properties_free(given);
    if (object == nullptr) {
        throw std::runtime_error("no object of " + factory);
    }
    return object;
}

void SoundClient::release(pw_proxy* object) {
    pw_proxy_destroy(object);
}

} // namespace velmoran::attacks
