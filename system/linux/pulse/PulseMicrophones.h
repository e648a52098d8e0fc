// The microphones of the sound server: every source that isn't the monitor of an output, muted and
// unmuted together. Owned by the machine. It has no thread: what is wanted is written to the
// server's socket in the caller's own call, and the answers come on the context's thread.
#pragma once

#include "core/base/SharedEvent.h"
#include "system/Machine.h"
#include "system/linux/pulse/MutedHere.h"
#include "system/linux/pulse/PulseContext.h"
#include "system/linux/pulse/SilenceHold.h"
#include "system/linux/pulse/SourceVolumes.h"
#include "system/linux/pulse/SourceWishes.h"

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <optional>
#include <string>

#include <pulse/volume.h>

namespace velmoran {

/// Sources are mirrored from what the server announces, so that a call needs to ask for nothing.
/// The server takes the writes of two calls in the order of the calls, however long it sleeps in
/// between. The last call waits for a server that sleeps or is away: when it is back and has a
/// source, the wish is carried out. Session managers keep the mute of a device that is unplugged
/// and give it back with it: a source that was muted here is unmuted when it comes back after an
/// unmute, but not one that was muted before: that isn't unmuted at all. When this object goes,
/// answers that are still due are not given any more.
class PulseMicrophones final : public Microphones, private PulseContext::Listener {
public:
    /// After that long, devices that the server hasn't answered for count as not muted.
    static constexpr Seconds bound = 1.5;

    explicit PulseMicrophones(PulseContext& pulse);
    ~PulseMicrophones() override;

    void setMuted(bool muted, Answer done, Answer late) override;
    void recall(const std::optional<MutedPlaces>& muted, bool stands) override;
    Subscription
    onMutedHere(std::function<void(const std::optional<MutedPlaces>&)> changed) override {
        return mutedHereChanges_.subscribe(std::move(changed));
    }
    /// A source that changes to another port (a headset in the jack) counts as one that appeared.
    Subscription onArrival(std::function<void()> arrived) override {
        return arrivals_.subscribe(std::move(arrived));
    }
    Subscription onUnmuted(std::function<void()> unmuted) override {
        return unmutes_.subscribe(std::move(unmuted));
    }

private:
    struct Source {
        std::string serverName;
        std::string name; ///< to show
        std::string port; ///< the active one; empty without
        pa_cvolume volume{};
        bool isMuted = false; ///< by its switch

        MicrophonePlace place() const { return {serverName, port}; }
    };
    struct Call;
    /// What a call wants of one source.
    struct Write {
        Write(Call& owner, std::uint32_t sourceIndex, const Source& source)
            : call(owner),
              index(sourceIndex),
              name(source.name),
              place(source.place()) {}

        Call& call;
        std::uint32_t index; ///< the server's
        std::string name;
        MicrophonePlace place;
        bool isFirstMute = false; ///< it wasn't muted before
        bool byVolume = false;
        std::optional<bool> success;
        pa_operation* operation = nullptr;
    };
    struct Call {
        Call(PulseMicrophones& owner, bool wanted)
            : microphones(owner),
              muted(wanted),
              takesAny(!wanted && owner.mutedHere_.mayBeAny()),
              hasNothing(!wanted && owner.mutedHere_.isEmpty()) {}

        PulseMicrophones& microphones;
        bool muted;
        bool takesAny;   ///< of an unmute: not only what is known to be muted here
        bool hasNothing; ///< of an unmute: nothing was
        Answer done;     ///< empty once it was given
        Answer late;
        std::optional<std::uint32_t> only; ///< a source that has come back; else all
        bool begun = false;
        bool awaitsSources = false; ///< the connection was lost meanwhile
        bool hasMissed = false;     ///< a source was not there that was to be muted
        std::list<Write> writes;    ///< in the order of the server's list
        Subscription alarm;
    };
    void connected() override;
    void disconnected() override;
    void serverGone() override;
    void removalsAreTrue() override { beginWaiting(); }
    void changed(unsigned facility, unsigned type, std::uint32_t index) override;

    void store(const pa_source_info& info);
    void writeMute(std::uint32_t index, bool muted);
    void tellArrivals();
    void tellOfMutedHere();
    bool isConcerned(const Call& call, std::uint32_t index, const Source& source) const;
    bool isMuted(std::uint32_t index, const Source& source) const;
    /// The server hasn't answered a write to it yet.
    bool isBeingWritten(std::uint32_t index) const;
    void beginWaiting();
    void begin(Call& call);
    void sent(Write& write, pa_operation* operation);
    static void writeAnswered(pa_context* context, int success, void* write);
    void proceed(Call& call);
    void setByVolume(Call& call);
    void finish(Call& call);
    void answer(Call& call);
    void overdue(Call& call);
    bool isLast(const Call& call) const;
    MuteAnswer outcome(const Call& call) const;
    void drop(Call& call);
    static void forgetWrites(Call& call);
    static void forget(Write& write);

    PulseContext& pulse_;
    SharedEvent<> arrivals_;
    SharedEvent<> unmutes_;
    SharedEvent<const std::optional<MutedPlaces>&> mutedHereChanges_;
    // The rest is used with the context's lock held.
    std::map<std::uint32_t, Source> sources_; ///< by the server's index
    SourceWishes wishes_;
    std::list<Call> calls_;
    bool isListing_ = false; ///< the first list of this connection is on its way
    bool hasArrived_ = false;
    bool isMuteWanted_ = false; ///< by the last call that all sources were told of
    MutedHere mutedHere_;       ///< what was muted before isn't
    SourceVolumes volumes_;
    SilenceHold hold_{pulse_, [this](std::uint32_t index) {
                          writeMute(index, true);
                      }};
};

} // namespace velmoran
