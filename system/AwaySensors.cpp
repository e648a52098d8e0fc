#include "system/AwaySensors.h"

#include <algorithm>
#include <array>
#include <utility>

namespace velmoran {

namespace {

using Kind = AwaySignal::Kind;

AwaySignal plainSignal(Kind kind) {
    AwaySignal signal;
    signal.kind = kind;
    return signal;
}

constexpr std::array mouseEvents = {InputEvent::mouseMoved, InputEvent::leftMouseDown,
                                    InputEvent::rightMouseDown, InputEvent::scrollWheel};

} // namespace

AwaySensors::AwaySensors(AwayReadings& readings, Scheduler& scheduler)
    : readings_(readings),
      scheduler_(scheduler),
      mainThread_(scheduler) {}

void AwaySensors::start(Handler handler) {
    stop();
    handler_ = std::move(handler);
    lidClosed_ = readings_.isLidClosed();
    onACPower_ = readings_.isOnACPower();
    lidAngle_ = readings_.openLidAngle();
    lidMovement_.restAt(lidAngle_ ? lidAngle_->read() : std::nullopt);
    lidSettling_ = 0;
    timer_ = scheduler_.every(interval, [this] { tick(); });
    announcements_ =
        readings_.listen(mainThread_.later([this, run = ++run_](const AwaySignal& signal) {
            if (run == run_) {
                send(signal);
            }
        }));
}

void AwaySensors::stop() {
    timer_.reset();
    lidAngle_.reset();
    announcements_.reset();
    handler_ = nullptr;
}

void AwaySensors::tick() {
    readInput();
    // First, so that the tick that sees the lid open or close is a settling one already.
    readLid();
    readLidAngle();
    readPower();
}

void AwaySensors::readInput() {
    if (isUsed(InputEvent::keyDown)) {
        send(plainSignal(Kind::keyboardUsed));
    }
    if (std::ranges::any_of(mouseEvents, [this](InputEvent event) { return isUsed(event); })) {
        send(plainSignal(Kind::mouseUsed));
    }
}

void AwaySensors::readLid() {
    const auto closed = readings_.isLidClosed();
    if (closed && closed != lidClosed_) {
        lidClosed_ = closed;
        lidSettling_ = settlingTicks;
        send(plainSignal(*closed ? Kind::lidClosed : Kind::lidOpened));
    }
}

void AwaySensors::readLidAngle() {
    const auto angle = lidAngle_ ? lidAngle_->read() : std::nullopt;
    if (!angle) {
        return;
    }
    if (lidSettling_ > 0) {
        --lidSettling_;
        lidMovement_.restAt(angle);
    } else if (const auto movement = lidMovement_.feed(*angle)) {
        auto moved = plainSignal(Kind::lidMoved);
        moved.from = movement->from;
        moved.to = movement->to;
        send(moved);
    }
}

void AwaySensors::readPower() {
    const auto onACPower = readings_.isOnACPower();
    const auto before = std::exchange(onACPower_, onACPower);
    if (onACPower && onACPower != before) {
        send(plainSignal(*onACPower ? Kind::powerConnected : Kind::powerRemoved));
    }
}

bool AwaySensors::isUsed(InputEvent event) {
    const auto since = readings_.sinceLast(event);
    return since && *since < recently;
}

void AwaySensors::send(const AwaySignal& signal) {
    // A copy, since the handler may stop this.
    if (const auto handler = handler_) {
        handler(signal);
    }
}

} // namespace velmoran
