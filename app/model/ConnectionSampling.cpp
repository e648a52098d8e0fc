// The part of the model that notes whom an app talks to while it uses a device.
#include "app/model/AppModel.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

bool knows(const UsageSession& session, const Connection& peer) {
    return std::any_of(session.connections.begin(), session.connections.end(),
                       [&](const ConnectionRecord& record) {
                           return record.address == peer.address && record.port == peer.port &&
                                  record.transport == peer.transport;
                       });
}

} // namespace

void AppModel::sampleConnections() {
    if (isSampling_) {
        sampleAgain_ = true;
        return;
    }
    std::vector<UsageSession> sampled;
    std::vector<AppIdentity> apps;
    for (const auto& session : *openSessions) {
        if (session.device == Device::speaker || !session.app.path) {
            continue;
        }
        sampled.push_back(session);
        if (std::find(apps.begin(), apps.end(), session.app) == apps.end()) {
            apps.push_back(session.app);
        }
    }
    if (sampled.empty()) {
        return;
    }
    isSampling_ = true;
    const auto seen = around_.clock.now();
    around_.machine.connections().ofApps(
        std::move(apps), [this, alive = std::weak_ptr(alive_), &scheduler = around_.scheduler,
                          sampled = std::move(sampled), seen](const Connections::Found& found) {
            scheduler.post([this, alive, sampled, seen, found] {
                if (!alive.expired()) {
                    addConnections(sampled, seen, found);
                }
            });
        });
}

void AppModel::addConnections(const std::vector<UsageSession>& sampled, Timestamp seen,
                              const Connections::Found& found) {
    isSampling_ = false;
    bool anyAdded = false;
    for (const auto& session : sampled) {
        const auto peers = found.find(session.app.id);
        if (peers == found.end()) {
            continue;
        }
        std::vector<ConnectionRecord> added;
        for (const auto& peer : peers->second) {
            if (!knows(session, peer)) {
                added.push_back({.address = peer.address,
                                 .port = peer.port,
                                 .transport = peer.transport,
                                 .firstSeen = seen});
            }
        }
        if (added.empty()) {
            continue;
        }
        const auto updated = engine_.update(session.id, [&](UsageSession& open) {
            open.connections.insert(open.connections.end(), added.begin(), added.end());
        });
        // What has ended in the meantime stays as it was written.
        if (updated) {
            anyAdded = true;
            save(*updated);
            onConnections(session.id, added);
        }
    }
    if (anyAdded) {
        openSessions.set(engine_.open());
        refreshHistory();
    }
    if (std::exchange(sampleAgain_, false)) {
        sampleConnections();
    }
}

} // namespace velmoran
