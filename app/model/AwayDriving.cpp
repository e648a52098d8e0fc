#include "app/model/AwayDriving.h"

#include <utility>

namespace velmoran {

namespace {

AwayEventKind kindOf(AwaySignal::Kind kind) {
    switch (kind) {
    case AwaySignal::Kind::lidMoved:
        return AwayEventKind::lidMoved;
    case AwaySignal::Kind::devicePluggedIn:
        return AwayEventKind::devicePluggedIn;
    case AwaySignal::Kind::keyboardUsed:
        return AwayEventKind::keyboardUsed;
    case AwaySignal::Kind::mouseUsed:
        return AwayEventKind::mouseUsed;
    case AwaySignal::Kind::lidOpened:
        return AwayEventKind::lidOpened;
    case AwaySignal::Kind::lidClosed:
        return AwayEventKind::lidClosed;
    case AwaySignal::Kind::powerConnected:
        return AwayEventKind::powerConnected;
    case AwaySignal::Kind::powerRemoved:
        return AwayEventKind::powerRemoved;
    case AwaySignal::Kind::wentToSleep:
        return AwayEventKind::wentToSleep;
    case AwaySignal::Kind::wokeUp:
        return AwayEventKind::wokeUp;
    }
    return AwayEventKind::wentToSleep;
}

std::optional<std::string> detailOf(const AwaySignal& signal) {
    if (signal.kind == AwaySignal::Kind::lidMoved) {
        return lidMovedDetail(signal.from, signal.to);
    }
    return signal.kind == AwaySignal::Kind::devicePluggedIn ? signal.name : std::nullopt;
}

} // namespace

AwayDriving::AwayDriving(Seams seams, Reports reports)
    : seams_(std::move(seams)),
      reports_(std::move(reports)),
      sensors_(seams_.machine.away(), seams_.scheduler),
      mainThread_(seams_.scheduler) {}

void AwayDriving::start() {
    lock_ = seams_.machine.screenLock().observe(mainThread_.later([this] { lock(); }),
                                                mainThread_.later([this] { unlock(); }));
}

void AwayDriving::storeAgain() {
    // Not in this call, in the middle of something that is written.
    mainThread_.post([this] {
        if (watch_.current) {
            seams_.history.save(*watch_.current);
        }
    });
}

void AwayDriving::lock() {
    screenLocked_ = true;
    if (watch_.isWatching()) {
        watch_.endSettling();
        return;
    }
    if (!*seams_.settings.awayWatchOnLock) {
        return;
    }
    // A clock that is set back while nobody is there mustn't make everything after it one moment:
    // the first repeat would be the last event, and all of it the user's own return.
    ahead_ = seams_.clock.now() - seams_.clock.elapsing();
    watch_.begin(now(), screenLocked_);
    seams_.isOn.set(true);
    sensors_.start([this](const AwaySignal& signal) { heed(signal); });
    seams_.history.save(*watch_.current);
    reports_.changed();
}

void AwayDriving::heed(const AwaySignal& signal) {
    if (signal.kind == AwaySignal::Kind::wentToSleep) {
        watch_.noteSleep();
        seams_.history.save(*watch_.current);
        return;
    }
    record(kindOf(signal.kind), detailOf(signal));
}

void AwayDriving::noteUse(Device device, const AppIdentity& app) {
    if (*seams_.isOn) {
        record(device == Device::camera ? AwayEventKind::cameraUsed : AwayEventKind::microphoneUsed,
               app.name);
    }
}

void AwayDriving::record(AwayEventKind kind, const std::optional<std::string>& detail) {
    if (watch_.record(kind, detail, now())) {
        seams_.history.save(*watch_.current);
    }
}

void AwayDriving::unlock() {
    screenLocked_ = false;
    const auto report = watch_.finish(now(), *seams_.settings.ignoreOwnReturn);
    if (!report) {
        return;
    }
    sensors_.stop();
    seams_.isOn.set(false);
    if (report->isEmpty()) {
        seams_.history.removeReport(report->id);
    } else {
        seams_.history.save(*report);
    }
    reports_.ended();
    reports_.changed();
    if (!report->isEmpty()) {
        seams_.windows.showAwayReport(*report);
    }
}

} // namespace velmoran
