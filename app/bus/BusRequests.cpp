#include "app/bus/BusRequests.h"

#include "app/bus/AppChoice.h"
#include "app/bus/BusNames.h"
#include "app/bus/BusReply.h"
#include "core/text/Localizer.h"

#include <cstring>
#include <utility>

namespace velmoran {

BusRequests::BusRequests(AppModel& model, Scheduler& scheduler, std::function<std::string()> remark,
                         std::function<void(const BusMessage&)> send)
    : model_(model),
      remark_(std::move(remark)),
      send_(std::move(send)),
      stops_(scheduler, atOnce, interval),
      unmutes_(scheduler, atOnce, interval),
      raises_(scheduler, atOnce, interval) {
    subscriptions_.push_back(model.onStopEnded.subscribe(
        [this](const std::optional<StopResult>& result) { stopEnded(result); }));
    subscriptions_.push_back(
        model.onMicrophonesMuted.subscribe([this](bool muted, const MuteAnswer& answer) {
            if (!muted) {
                unmuteEnded(answer);
            }
        }));
}

void BusRequests::forgetCallers() {
    stopCall_.reset();
    unmuteCall_.reset();
}

/// Answers that nothing was done, and why. False, for whoever asks whether something may be.
bool BusRequests::drop(sd_bus_message* call, const std::string& why) {
    send_(bus::replyTo(call, bus::outcome::busy, why));
    return false;
}

/// Otherwise it says why not.
bool BusRequests::mayStop(sd_bus_message* call) {
    if (model_.isAsking()) {
        // Whoever stops again hasn't seen the question yet. A flood may not hold it in front.
        if (raises_.allow()) {
            model_.raiseQuestion();
        }
        return drop(call, words().text("Velmoran is asking about a browser on the screen. Answer "
                                       "that first."));
    }
    if (stopCall_ || model_.isBusyStopping()) {
        return drop(call, words().text("A stop is under way already."));
    }
    return stops_.allow() ||
           drop(call, words().text("There were too many requests. Try again in a few seconds."));
}

void BusRequests::stopEverything(sd_bus_message* call) {
    if (mayStop(call)) {
        stopCall_.reset(sd_bus_message_ref(call));
        model_.stopEverything();
    }
}

void BusRequests::stop(sd_bus_message* call) {
    const char* given = nullptr;
    if (sd_bus_message_read(call, "s", &given) < 0 ||
        ::strnlen(given, longestName + 1) > longestName) {
        send_(bus::refusalOf(call, SD_BUS_ERROR_INVALID_ARGS, "That is no name of an app."));
        return;
    }
    const auto apps = stoppableApps(*model_.openSessions);
    const auto meant = matchingApps(given, apps);
    if (meant.size() != 1) {
        send_(bus::refusalOf(call, meant.empty() ? bus::notInUse : bus::ambiguous,
                             choiceError(given, meant, apps)));
    } else if (mayStop(call)) {
        stopCall_.reset(sd_bus_message_ref(call));
        model_.stop(meant.front());
    }
}

void BusRequests::stopEnded(const std::optional<StopResult>& result) {
    const auto remark = remark_();
    const auto call = std::move(stopCall_);
    if (!call) {
        return; // somebody else's stop
    }
    if (!result) {
        send_(bus::replyTo(call.get(), bus::outcome::cancelled,
                           remark.empty()
                               ? words().text("Nothing was stopped: the question about the browser "
                                              "was answered with “Cancel”.")
                               : words().text("Nothing was stopped."),
                           remark));
        return;
    }
    const auto way = model_.unmutingBy() == UnmutingBy::panel ? UnmutingBy::panelOrTerminal
                                                              : model_.unmutingBy();
    auto detail = result->detail(way).value_or("");
    if (!remark.empty()) {
        detail += (detail.empty() ? "" : " ") + remark;
    }
    const bool isDone = result->everythingStopped() && remark.empty();
    send_(bus::replyTo(call.get(), isDone ? bus::outcome::done : bus::outcome::incomplete,
                       result->headline(), detail));
}

void BusRequests::unmute(sd_bus_message* call) {
    if (unmuteCall_) {
        drop(call, words().text("The microphone is being unmuted already."));
    } else if (!unmutes_.allow()) {
        drop(call, words().text("There were too many requests. Try again in a few seconds."));
    } else {
        unmuteCall_.reset(sd_bus_message_ref(call));
        model_.unmuteMicrophone();
    }
}

void BusRequests::unmuteEnded(const MuteAnswer& result) {
    const auto call = std::move(unmuteCall_);
    if (!call) {
        return;
    }
    if (result.hadNothing) {
        send_(bus::replyTo(call.get(), bus::outcome::done,
                           words().text("No microphone was muted by Velmoran, so there was nothing "
                                        "to unmute.")));
        return;
    }
    if (!result.serverAnswered && result.mutedCount == 0) {
        send_(bus::replyTo(call.get(), bus::outcome::incomplete,
                           words().text("The microphone couldn't be unmuted yet."),
                           words().text("The sound server didn't answer. As soon as it does, the "
                                        "microphone is unmuted.")));
        return;
    }
    const bool isDone = result.unmutable.empty();
    send_(bus::replyTo(
        call.get(), isDone ? bus::outcome::done : bus::outcome::incomplete,
        isDone || result.mutedCount > 0 ? words().text("The microphone is no longer muted.")
                                        : words().text("The microphone couldn't be unmuted."),
        isDone ? std::string()
               : words().text("%@ couldn't be unmuted.", {words().list(result.unmutable)})));
}

} // namespace velmoran
