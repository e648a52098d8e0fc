#include "system/scripted/ScriptedMachine.h"

namespace velmoran {

void ScriptedSnapshots::start(std::function<void(const SystemSnapshot&)> handler) {
    handler_ = std::move(handler);
    started_ = true;
}

void ScriptedSnapshots::stop() {
    stopped_ = true;
}

void ScriptedSnapshots::deliver(const SystemSnapshot& snapshot) const {
    // A copy, since the handler may stop this source.
    const auto handler = handler_;
    if (handler && !stopped_) {
        handler(snapshot);
    }
}

namespace {
std::optional<std::string> valueAt(const std::map<std::string, std::string>& table,
                                   const std::string& key) {
    const auto found = table.find(key);
    return found == table.end() ? std::nullopt : std::optional(found->second);
}
} // namespace

std::optional<std::string> ScriptedMachine::teamID(const std::string& path) {
    return valueAt(script.teamIDs, path);
}

std::optional<std::string> ScriptedMachine::systemIdentifier(const std::string& path) {
    return valueAt(script.signingIDs, path);
}

bool ScriptedMachine::exists(std::uint32_t objectID) {
    return script.outputs.contains(objectID);
}

bool ScriptedMachine::setMuted(bool muted, std::uint32_t objectID) {
    const bool done = !script.outputMuteFails;
    if (onOutputMute) {
        onOutputMute(objectID, muted, done);
    }
    return done;
}

void ScriptedMachine::playWarning() {
    if (onSound) {
        onSound();
    }
}

} // namespace velmoran
