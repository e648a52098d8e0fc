// An ordinary client of the session's PipeWire, by which an attack does to the server what any
// program may. It belongs to one attack and lives on its thread, which hands on the server's words
// only inside of this class's calls.
#pragma once

#include "support/Waiting.h"

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <pipewire/pipewire.h>

namespace velmoran::attacks {

using Properties = std::map<std::string, std::string>;

class SoundClient {
public:
    struct Global {
        std::string type; ///< as PW_TYPE_INTERFACE_Client
        Properties properties;

        [[nodiscard]] std::string property(const std::string& key) const;
    };
    using Globals = std::map<std::uint32_t, Global>;
    /// The server has cut the connection; this client is of no more use.
    class Lost : public std::runtime_error {
    public:
        Lost() : std::runtime_error("the sound server has cut the attacker's connection") {}
    };

    /// Connects to the server of this process's environment and knows all its globals. Throws
    /// std::runtime_error.
    SoundClient();
    ~SoundClient();
    SoundClient(const SoundClient&) = delete;
    SoundClient& operator=(const SoundClient&) = delete;

    [[nodiscard]] const Globals& globals() const { return globals_; }
    [[nodiscard]] pw_core* core() const { return core_; }

    /// Everything asked until now is carried out, and what the server had to say of it is known.
    /// Throws when that takes longer than `bound`, Lost when the connection is cut.
    void roundTrip(support::Bound bound = support::patience);
    /// Hears the server until `condition` is true (then true) or `bound` has passed. Throws Lost.
    bool hearUntil(const std::function<bool()>& condition, support::Bound bound);

    void destroy(std::uint32_t global);
    /// What one client may do with an object from now on, as PW_PERM_R and the like; of the core,
    /// 0, or of all, PW_ID_ANY.
    void permit(std::uint32_t client, std::uint32_t object, std::uint32_t permissions);
    /// An object that lives until `release`.
    pw_proxy* create(const std::string& factory, const Properties& properties,
                     const char* type = PW_TYPE_INTERFACE_Node,
                     std::uint32_t version = PW_VERSION_NODE);
    void release(pw_proxy* object);

private:
    void iterate(int milliseconds);

    Globals globals_;
    bool isLost_ = false;
    int sequence_ = 0;
    int done_ = -1;
    pw_loop* loop_ = nullptr;
    pw_context* context_ = nullptr;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    pw_core_events coreEvents_{};
    pw_registry_events registryEvents_{};
    spa_hook coreHook_{};
    spa_hook registryHook_{};
};

} // namespace velmoran::attacks
