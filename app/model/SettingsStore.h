// What the user has chosen. One per program, made by the application model over the platform's
// settings; every field is read once at the beginning and written through at once. A change has no
// effect beyond that: whoever changes a field does what the change means. Main thread only.
#pragma once

#include "app/model/KeyValueStore.h"
#include "core/base/Observable.h"
#include "core/records/MicrophonePlace.h"

#include <optional>
#include <string>

namespace velmoran {

/// A place on screen in points, x to the right.
struct Point {
    double x = 0;
    double y = 0;

    bool operator==(const Point&) const = default;
};

class SettingsStore {
public:
    /// Reads all fields, which have their defaults where nothing is written. `store` outlives this.
    explicit SettingsStore(KeyValueStore& store);

    /// One setting: what it is now, and how to change it. Observers hear of unequal values only.
    template <class T>
    class Field {
    public:
        const T& get() const { return value_.get(); }
        const T& operator*() const { return value_.get(); }
        void set(T value) {
            if (value == value_.get() && !alwaysWritten_) {
                return;
            }
            value_.set(value);
            write_(value_.get());
        }
        [[nodiscard]] Subscription subscribe(std::function<void(const T&)> callback) {
            return value_.subscribe(std::move(callback));
        }

    private:
        friend class SettingsStore;
        Observable<T> value_;
        std::function<void(const T&)> write_;
        bool alwaysWritten_ = true;
    };

    Field<int> retentionDays;        ///< days of history to keep: 30, 90 or 365
    Field<bool> warningSoundOn;      ///< play the sound for strong warnings
    Field<bool> standardNoticesStay; ///< standard cards stay until closed
    Field<bool> speakerAutoMute;     ///< mute the speakers when headphones come off
    Field<bool> monitorSpeakerUse;   ///< make speaker sessions at all
    Field<bool> hideSystemSounds;
    Field<bool> ignoreSystemListening; ///< the system's own listening is no use of the microphone
    Field<bool> floatingStopButton;
    Field<bool> stopShortcutOn;
    Field<bool> confirmClosingBrowser;
    Field<std::optional<Point>> floatingStopPlace;
    Field<bool> ignoreOwnReturn;
    Field<bool> awayWatchOnLock;
    Field<bool> microphoneMuted; ///< the mute is in force
    /// What is to be unmuted, the mute in force or not; nothing where that isn't known.
    Field<std::optional<MutedPlaces>> mutedByVelmoran;
    Field<bool> onboardingDone;
    Field<std::optional<std::string>> trustRulesData; ///< the JSON of the trust list, byte for byte
    Field<std::optional<std::string>> language; ///< "en" or "de"; takes effect at the next start

    /// Something that was chosen couldn't be written, and holds for this run alone.
    Observable<bool> notSaved;

    /// What another program that shares these settings has written of the mute, where that differs
    /// from what is set here; nothing where it doesn't. Looks at them.
    std::optional<bool> muteElsewhere();
    /// What stands written of what is to be unmuted, as of that look; nothing where it can't be
    /// read.
    std::optional<MutedPlaces> writtenMutedByVelmoran() const;

private:
    /// After each write to the store.
    void noteWritten() { notSaved.set(store_.hasUnwritten()); }
    void bind(Field<bool>& field, const char* key, bool byDefault);
    /// `write` is for a value; without one the key is removed.
    template <class T>
    void bind(Field<std::optional<T>>& field, const char* key, std::optional<T> value,
              void (*write)(KeyValueStore&, const char* key, const T&));

    KeyValueStore& store_;
};

} // namespace velmoran
