#include "app/model/MuteKeeper.h"

#include "app/notices/NoticeWording.h"

#include <utility>

namespace velmoran {

MuteKeeper::MuteKeeper(Seams seams, Report report)
    : seams_(seams),
      report_(std::move(report)),
      mainThread_(seams.scheduler) {}

void MuteKeeper::start() {
    mutedHere_ = seams_.microphones.onMutedHere(mainThread_.later(
        [this](const auto& places) { seams_.settings.mutedByVelmoran.set(places); }));
    recall();
    keepUp(true);
    arrivals_ = seams_.microphones.onArrival(mainThread_.later([this] { noteArrival(); }));
    unmuting_ = seams_.microphones.onUnmuted(mainThread_.later([this] { noteUnmute(); }));
}

void MuteKeeper::mute(std::function<void(const MuteOutcome&)> done) {
    isAnswerDue_ = true;
    hasArrived_ = false;
    seams_.microphones.setMuted(
        true,
        mainThread_.later([this, undone = undone_, done = std::move(done)](const auto& answer) {
            note(answer, undone_ == undone);
            done(answer);
        }),
        inEffect());
}

void MuteKeeper::note(const MuteAnswer& answer, bool stands) {
    isAnswerDue_ = false;
    isMuteDue_ = !answer.serverAnswered;
    lateMute_.reset();
    const bool isMuted = answer.mutedCount >= 1 && stands;
    // At once, so that a stop that is cut short leaves no mute that nobody knows of.
    if (isMuted) {
        seams_.settings.microphoneMuted.set(true);
    }
    report_(true, answer);
    if (isMuted) {
        setCardsRight(answer);
        if (std::exchange(hasArrived_, false)) {
            repeat();
        }
    }
}

/// What the microphones are is what counts: a mute that came late stands like any other, also if
/// what was repeated meanwhile is what the server has heard.
Microphones::Answer MuteKeeper::inEffect() {
    return mainThread_.later([this, undone = undone_](const MuteAnswer& answer) {
        if (answer.mutedCount >= 1 && undone_ == undone) {
            noteInEffect(answer);
        }
    });
}

void MuteKeeper::noteInEffect(const MuteAnswer& answer) {
    if (std::exchange(isMuteDue_, false)) {
        lateMute_ = answer;
        seams_.settings.microphoneMuted.set(true);
        report_(true, answer);
        keepUp(false);
    }
    setCardsRight(answer);
}

StopResult MuteKeeper::withCurrentMute(StopResult result) {
    if (result.microphoneMuted && lateMute_) {
        result.microphoneMuted = true;
        result.unmutableMicrophones = lateMute_->unmutable;
    }
    if (result.microphoneMuted == true && !*seams_.settings.microphoneMuted) {
        result.microphoneMuted.reset();
        result.unmutableMicrophones.clear();
    }
    if (result.microphoneMuted == true) {
        keepUp(false);
    }
    return result;
}

void MuteKeeper::correctLater(const Uuid& card, Correct correct) {
    std::erase_if(dueCards_, [this](const Due& due) { return !seams_.notices.item(due.card); });
    if (isMuteDue_) {
        dueCards_.push_back({card, std::move(correct)});
    }
}

/// Cards that still say that it couldn't be done would be wrong.
void MuteKeeper::setCardsRight(const MuteOutcome& mute) {
    for (const auto& due : std::exchange(dueCards_, {})) {
        if (seams_.notices.item(due.card)) {
            due.correct(mute);
        }
    }
}

/// What is plugged in under a mute is muted at once, and not at the next repetition: also while the
/// stop that has muted is still closing, when nothing is repeated yet.
void MuteKeeper::noteArrival() {
    if (*seams_.settings.microphoneMuted) {
        keepMuted();
    } else if (isAnswerDue_) {
        hasArrived_ = true;
    }
}

/// The machine mutes again by itself, without a wait for this thread. That would undo the unmute of
/// another program that shares the settings, too, if this one didn't give way then.
void MuteKeeper::noteUnmute() {
    if (!*seams_.settings.microphoneMuted) {
        return;
    }
    if (seams_.settings.muteElsewhere() == false) {
        unmute();
    } else if (unmutes_.add(seams_.clock.elapsing()) && !warning_) {
        warnOfUnmutes();
    }
}

void MuteKeeper::warnOfUnmutes() {
    warning_ = Uuid::random();
    seams_.notices.show(keepsUnmutingItem(*warning_, mainThread_.whileAlive([this] { unmute(); })));
}

void MuteKeeper::keepUp(bool reported) {
    if (!*seams_.settings.microphoneMuted || repeating_) {
        return;
    }
    if (reported) {
        setAll(true, true);
    } else {
        repeat();
    }
    repeating_ = seams_.scheduler.every(interval, [this] { keepMuted(); });
}

/// Where a mute stands and nobody knows of what, all are to be unmuted in the end. Without one,
/// what was to be unmuted and was away, or whose server was, is given back.
void MuteKeeper::recall() {
    const auto& before = *seams_.settings.mutedByVelmoran;
    const bool stands = *seams_.settings.microphoneMuted;
    seams_.microphones.recall(stands ? before : before.value_or(MutedPlaces()), stands);
    if (!stands && before && !before->empty()) {
        seams_.microphones.setMuted(false, [](const MuteAnswer&) {}, {});
    }
}

/// What another program has muted under the same mute is to be unmuted with it. As long as it
/// stands the list only grows.
void MuteKeeper::learnFromOthers() {
    const auto written = seams_.settings.writtenMutedByVelmoran();
    if (written && written != *seams_.settings.mutedByVelmoran) {
        seams_.microphones.recall(written, true);
    }
}

/// Two programs may keep the same mute up, as the desktop's and a watch in a terminal: an unmute in
/// one of them holds for both.
void MuteKeeper::keepMuted() {
    if (seams_.settings.muteElsewhere() == false) {
        unmute();
    } else {
        learnFromOthers();
        repeat();
    }
}

void MuteKeeper::repeat() {
    seams_.microphones.setMuted(true, inEffect(), inEffect());
}

void MuteKeeper::adopt() {
    if (seams_.settings.muteElsewhere() == true) {
        seams_.settings.microphoneMuted.set(true);
        seams_.microphones.recall(seams_.settings.writtenMutedByVelmoran(), true);
        keepUp(true);
    }
}

void MuteKeeper::unmute() {
    ++undone_;
    const bool stood = *seams_.settings.microphoneMuted;
    seams_.settings.microphoneMuted.set(false);
    unmutes_.clear();
    if (const auto card = std::exchange(warning_, std::nullopt)) {
        seams_.notices.dismiss(*card);
    }
    repeating_.reset();
    setAll(false, stood);
}

/// What comes late is what the setting says already.
void MuteKeeper::setAll(bool muted, bool stood) {
    seams_.microphones.setMuted(muted, mainThread_.later([this, muted, stood](const auto& answer) {
        if (stood && answer.hadNothing) {
            // Whoever has pressed "Unmute" would wait for it to be heard.
            seams_.notices.show(nothingUnmutedItem(Uuid::random()));
        }
        report_(muted, answer);
    }),
                                {});
}

} // namespace velmoran
