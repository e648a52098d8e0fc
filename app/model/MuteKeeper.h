// The mute of all microphones: carries it out for a stop, keeps it up until the user undoes it,
// over restarts too, remembers which of them it has muted, makes up for what the sound server
// answers late or never, and tells of others who keep undoing it. Owned by the model; main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "app/notices/NoticeCenter.h"
#include "core/base/ForwardClock.h"
#include "core/base/MainThread.h"
#include "core/base/Recurrence.h"
#include "core/stopping/PanicController.h"
#include "system/Machine.h"

#include <functional>
#include <optional>
#include <vector>

namespace velmoran {

class MuteKeeper final : public MicrophoneMuting {
public:
    /// Of what a stop, a launch or the user has muted (true) or unmuted, and of a stop's mute that
    /// took effect late; what only keeps a mute up is not told.
    using Report = std::function<void(bool on, const MuteAnswer&)>;
    using Correct = std::function<void(const MuteOutcome&)>;

    struct Seams {
        Microphones& microphones;
        const ForwardClock& clock;
        Scheduler& scheduler;
        SettingsStore& settings;
        NoticeCenter& notices;
    };

    /// The seams outlive this. Nothing starts yet.
    MuteKeeper(Seams seams, Report report);

    /// From now on what is plugged in under a mute is muted too. A mute that the settings say of is
    /// carried out and kept up.
    void start();

    /// A stop's. The answer comes on the main thread, never in the call, and not at all when this
    /// has gone by then.
    void mute(std::function<void(const MuteOutcome&)> done) override;
    /// What a stop says of the microphone when it is over: the mute has come first, and since then
    /// it can have taken effect late, or the user can have undone it. One that stands is kept up.
    StopResult withCurrentMute(StopResult result);
    /// A card says what came of the last mute. If no server has answered to that one, `correct` is
    /// called once when it takes effect after all and the card is still there.
    void correctLater(const Uuid& card, Correct correct);

    void unmute();
    /// Keeps up the mute of another program that shares the settings, if there is one.
    void adopt();

    static constexpr Seconds interval = 3.0;
    /// How often others have to unmute within how long until the user is told, once for each mute.
    static constexpr std::size_t warningTimes = 3;
    static constexpr Seconds warningSpan = 10.0;

private:
    struct Due {
        Uuid card;
        Correct correct;
    };

    void note(const MuteAnswer& answer, bool stands);
    void noteInEffect(const MuteAnswer& answer);
    void setCardsRight(const MuteOutcome& mute);
    void noteArrival();
    void noteUnmute();
    void warnOfUnmutes();
    void keepUp(bool reported);
    void keepMuted();
    void repeat();
    void setAll(bool muted, bool stood);
    void recall();
    void learnFromOthers();
    Microphones::Answer inEffect();

    Seams seams_;
    Report report_;
    unsigned undone_ = 0; ///< mutes that were asked for before the last unmute don't stand
    bool isAnswerDue_ = false;
    bool hasArrived_ = false; ///< a microphone, while that answer is due
    /// No server has answered to the last stop's mute, and none was carried out since.
    bool isMuteDue_ = false;
    std::optional<MuteOutcome> lateMute_; ///< what was carried out after that mute's answer
    std::vector<Due> dueCards_;           ///< of stops whose mute no server has answered to
    Recurrence unmutes_{warningTimes, warningSpan}; ///< by others
    std::optional<Uuid> warning_; ///< of them, while this mute stands; the card may have gone
    Subscription repeating_;
    Subscription arrivals_;
    Subscription unmuting_;
    Subscription mutedHere_;
    MainThread mainThread_;
};

} // namespace velmoran
