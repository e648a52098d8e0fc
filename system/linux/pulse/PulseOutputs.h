// The outputs of the sound server, and the one that sound goes to now: mirrored in memory from what
// libpulse announces. Owned by the machine.
#pragma once

#include "system/Machine.h"
#include "system/linux/pulse/OutputKind.h"
#include "system/linux/pulse/PulseContext.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// Answers come from memory and from any thread; `setMuted` waits for the server. A sink keeps its
/// object id as long as the program runs, also over a restart of the server, by the server's name
/// for it; no other sink ever gets it. Volumes are as people see them, 1 being 100 %, and no more.
/// Where the default output has gone, it is the current one until the server has chosen another.
/// The server's stand-in for a missing output ("auto_null") is no output. A sink whose jack is
/// known to be empty doesn't exist, though the server lists it: cards that have a sink for each
/// jack do so.
class PulseOutputs final : public OutputDevices, public PulseContext::Listener {
public:
    /// Object ids are this number plus 1, 2, 3 …
    static constexpr std::uint32_t firstObjectID = 0x4F000000;
    /// The longest that `setMuted` waits.
    static constexpr Seconds bound = 1.0;

    PulseOutputs(PulseContext& pulse, SerialQueue& queue);
    ~PulseOutputs() override;

    std::optional<OutputDeviceInfo> current() override;
    bool exists(std::uint32_t objectID) override;
    bool setMuted(bool muted, std::uint32_t objectID) override;

    /// The session manager's own word on which sink is the default, by the server's name; empty
    /// when it isn't known. It comes first: PipeWire's server for PulseAudio's clients can keep an
    /// older choice for a client of long standing (0.3.65). But while the server says otherwise it
    /// is asked once more (0.3 s later) whether its own choice has gone. What isn't the name of a
    /// sink counts no longer than the server takes to tell of one (1.5 s). Any thread but the
    /// context's.
    void preferDefault(const std::string& serverName);

    /// Called on the queue after each change of what `current` or `exists` answers, until this
    /// object is gone; a second call replaces the first callback. On the queue's thread.
    void onChange(std::function<void()> callback);

private:
    struct Sink {
        std::string serverName;
        std::uint32_t card = PA_INVALID_INDEX;
        SinkTraits traits;
        std::optional<float> volume;
        bool isMuted = false;
        bool isUnplugged = false; ///< the server keeps it, but nothing is at its jack
    };
    struct Card {
        std::string bus;
        std::string formFactor;
    };
    struct Answers {
        struct Known {
            std::string serverName;
            bool isPluggedIn = true;

            bool operator==(const Known&) const = default;
        };

        std::optional<OutputDeviceInfo> current;
        std::map<std::uint32_t, Known> sinks; ///< by object id

        bool operator==(const Answers&) const = default;
    };
    /// Outlives this object in what was posted.
    struct Shared {
        std::mutex mutex;
        Answers answers;
        std::function<void()> onChange;
    };

    void connected() override;
    void disconnected() override;
    void changed(unsigned facility, unsigned type, std::uint32_t index) override;
    void complete() override { publish(); }

    void askForDefault();
    void askForSinks();
    void retryLater();
    void stopRetries();
    void storeSink(const pa_sink_info& info);
    void storeCard(const pa_card_info& info);
    const Sink* sinkOf(const std::string& serverName) const;
    /// Whether the default is among the sinks that are known.
    bool isDefaultKnown() const;
    /// Whether the server and the session manager each call another sink the default.
    bool areAtOdds() const;
    void publish();
    std::uint32_t objectIDOf(const std::string& serverName);

    PulseContext& pulse_;
    SerialQueue& queue_;
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
    // The rest belongs to the context's thread.
    std::map<std::uint32_t, Sink> sinks_; ///< by the server's index
    std::map<std::uint32_t, Card> cards_;
    std::string defaultSink_;                        ///< by the server's word
    std::string preferredSink_;                      ///< by the session manager's
    std::string shownSink_;                          ///< the one told of
    std::map<std::string, std::uint32_t> objectIDs_; ///< by the server's name
    Subscription nextRetry_;  ///< while it is being settled which sink is the default
    std::size_t retries_ = 0; ///< how many of them have been begun
};

} // namespace velmoran
