#include "app/model/ConnectionSampler.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

bool knows(const UsageSession& session, const Connection& peer) {
    return std::ranges::any_of(session.connections, [&](const ConnectionRecord& record) {
        return record.address == peer.address && record.port == peer.port &&
               record.transport == peer.transport;
    });
}

} // namespace

ConnectionSampler::ConnectionSampler(Seams seams, Reports reports)
    : seams_(seams),
      reports_(std::move(reports)),
      mainThread_(seams.scheduler) {}

void ConnectionSampler::sample() {
    if (isSampling_) {
        sampleAgain_ = true;
        return;
    }
    std::vector<UsageSession> sampled;
    std::vector<AppIdentity> apps;
    for (const auto& session : seams_.engine.open()) {
        if (session.device == Device::speaker || !session.app.path) {
            continue;
        }
        sampled.push_back(session);
        if (std::ranges::find(apps, session.app) == apps.end()) {
            apps.push_back(session.app);
        }
    }
    if (sampled.empty()) {
        return;
    }
    isSampling_ = true;
    seams_.connections.ofApps(
        std::move(apps),
        mainThread_.later([this, sampled = std::move(sampled), seen = seams_.clock.now()](
                              const Connections::Found& found) { add(sampled, seen, found); }));
}

void ConnectionSampler::add(const std::vector<UsageSession>& sampled, Timestamp seen,
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
        const auto updated = seams_.engine.update(session.id, [&](UsageSession& open) {
            open.connections.insert(open.connections.end(), added.begin(), added.end());
        });
        // What has ended in the meantime stays as it was written.
        if (updated) {
            anyAdded = true;
            reports_.added(*updated, added);
        }
    }
    if (anyAdded) {
        reports_.anyAdded();
    }
    if (std::exchange(sampleAgain_, false)) {
        sample();
    }
}

} // namespace velmoran
