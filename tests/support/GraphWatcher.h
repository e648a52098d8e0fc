// The graph's reader on a thread of its own beside a test, with all that it has ever told, so that
// a test can say what must never have been told. Belongs to one test; its calls are the test's.
#pragma once

#include "support/Waiting.h"
#include "system/linux/clients/PeerSockets.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/pipewire/PipeWireGraph.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace velmoran::support {

/// Names a process by its executable alone; one that doesn't show it can't be named.
class ExecutableNaming : public ProcessNaming {
public:
    AppRef identify(pid_t pid) override {
        const auto path = ProcFs().executable(pid);
        return path ? AppRef{std::filesystem::path(*path).filename(), std::nullopt, *path}
                    : unidentified(std::to_string(pid));
    }
    AppRef unidentified(const std::string& key) override {
        return AppRef::unidentifiedAs("unidentified:" + key);
    }
    void pin(std::uint32_t objectID, AppRef app) override { pinned[objectID] = std::move(app); }
    void unpin(std::uint32_t objectID) override { pinned.erase(objectID); }

    std::map<std::uint32_t, AppRef> pinned; ///< the loop's thread
};

class GraphWatcher {
public:
    struct Picture {
        std::vector<std::string> microphone; ///< names, of those that can't be named "Unknown app"
        std::vector<std::string> speaker;
        std::vector<std::string> cameras; ///< ids of the users

        bool operator==(const Picture&) const = default;
    };

    explicit GraphWatcher(PipeWireGraph::Times times = {})
        : graph_(loop_, naming_, facts_, ServerSocket::defaultPath(), times) {
        loop_.runAndWait([this] {
            changes_ = graph_.onChange([this] { record(); });
            record();
        });
    }
    ~GraphWatcher() {
        loop_.runAndWait([this] { changes_.reset(); });
    }

    EventLoop& loop() { return loop_; }
    PipeWireGraph& graph() { return graph_; }
    ExecutableNaming& naming() { return naming_; } ///< the loop's thread

    Picture now() {
        const std::lock_guard lock(mutex_);
        return history_.back();
    }
    std::vector<Picture> history() {
        const std::lock_guard lock(mutex_);
        return history_;
    }
    /// Forgets what was told before now.
    void forget() {
        const std::lock_guard lock(mutex_);
        history_.erase(history_.begin(), history_.end() - 1);
    }
    std::set<std::string> everHeard() {
        std::set<std::string> names;
        for (const auto& picture : history()) {
            names.insert(picture.microphone.begin(), picture.microphone.end());
        }
        return names;
    }
    std::set<std::string> everPlayed() {
        std::set<std::string> names;
        for (const auto& picture : history()) {
            names.insert(picture.speaker.begin(), picture.speaker.end());
        }
        return names;
    }
    bool hears(const std::string& name) {
        const auto names = now().microphone;
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    bool connects() {
        bool connected = false;
        loop_.runAndWait([&] { connected = graph_.isConnected(); });
        return connected;
    }

private:
    void record() {
        Picture picture;
        for (const auto& process : graph_.processes()) {
            const auto& name = naming_.pinned.at(process.objectID).name;
            if (process.isRunningInput) {
                picture.microphone.push_back(name);
            }
            if (process.isRunningOutput) {
                picture.speaker.push_back(name);
            }
        }
        for (const auto& camera : graph_.cameras()) {
            for (const auto& app : camera.apps) {
                picture.cameras.push_back(app.id);
            }
        }
        const std::lock_guard lock(mutex_);
        history_.push_back(std::move(picture));
    }

    std::mutex mutex_;
    std::vector<Picture> history_;
    EventLoop loop_;
    ExecutableNaming naming_;
    PeerSockets facts_;
    PipeWireGraph graph_;
    Subscription changes_;
};

} // namespace velmoran::support
