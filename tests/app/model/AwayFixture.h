// A model whose user wants the away watch, on a machine whose screen a test locks and unlocks.
#pragma once

#include "tests/app/model/ModelFixture.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran::testing {

struct ShownReports final : Windows {
    std::vector<AwayReport> reports;
    void showAwayReport(const AwayReport& report) override { reports.push_back(report); }
};

struct AwayFixture : ModelFixture {
    const Timestamp beginning = time.now();
    ShownReports shown;

    void SetUp() override {
        windows = &shown;
        settings.setBoolean("awayWatchOnLock", true);
    }
    void lock() {
        machine.screenLock().lock();
        time.runPosted();
    }
    void unlock() {
        machine.screenLock().unlock();
        time.runPosted();
    }
    void lockAt(Seconds at) {
        time.advanceTo(at);
        lock();
    }
    void unlockAt(Seconds at) {
        time.advanceTo(at);
        unlock();
    }
    void signal(AwaySignal::Kind kind, const std::optional<std::string>& name = {}) {
        machine.away().announce({.kind = kind, .from = 12, .to = 47, .name = name});
        time.runPosted();
    }
    void signalAt(Seconds at, AwaySignal::Kind kind, const std::optional<std::string>& name = {}) {
        time.advanceTo(at);
        signal(kind, name);
    }
    std::vector<AwayReport> stored() const { return store->awayReports<AwayReport>(); }
    const std::vector<AwayReport>& listed() const { return **model->awayReports; }
    static std::vector<std::string> titlesOf(const std::vector<AwayEvent>& events) {
        std::vector<std::string> result;
        for (const auto& event : events) {
            result.push_back(event.title());
        }
        return result;
    }
};

} // namespace velmoran::testing
