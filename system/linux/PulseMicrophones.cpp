#include "system/linux/PulseMicrophones.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

// A device obeys within some milliseconds; what others set later is theirs.
constexpr std::chrono::milliseconds insistence{500};
constexpr int mostRepeats = 3;

} // namespace

/// The sources of one call whose switch didn't work, by their volumes. A write that was sent counts
/// as done here; what the server answers decides later.
class PulseMicrophones::VolumeControls final : public InputControls {
public:
    explicit VolumeControls(PulseMicrophones& microphones) : microphones_(microphones) {}

    void prepare(pa_context* context, Call& call) {
        context_ = context;
        call_ = &call;
    }

    std::vector<Input> inputs() override {
        std::vector<Input> inputs;
        for (const auto& write : call_->writes) {
            const auto source = microphones_.sources_.find(write.index);
            if (write.success == false && source != microphones_.sources_.end()) {
                inputs.push_back({objectID(source->second), write.name});
            }
        }
        return inputs;
    }
    bool setMuteSwitch(std::uint32_t, bool) override { return false; }
    int volumeElements() const override { return 1; }
    std::optional<float> settableVolume(std::uint32_t objectID, int) override {
        const auto found = find(objectID);
        const bool isReadable = found.source && pa_cvolume_valid(&found.source->volume) != 0;
        return isReadable ? std::optional(ChannelVolumes::level(found.source->volume))
                          : std::nullopt;
    }
    bool setVolume(std::uint32_t objectID, int, float volume) override {
        const auto found = find(objectID);
        if (!found.source) {
            return false;
        }
        const auto channels =
            microphones_.volumes_.at(volume, found.source->serverName, found.source->volume);
        found.write->byVolume = true;
        found.write->success.reset();
        found.write->operation = pa_context_set_source_volume_by_index(
            context_, found.write->index, &channels, &VolumeControls::answered, found.write);
        if (!found.write->operation) {
            found.write->success = false;
        }
        return found.write->operation != nullptr;
    }

private:
    struct Found {
        Source* source = nullptr;
        Write* write = nullptr;
    };

    static void answered(pa_context* context, int success, void* data) {
        auto& write = *static_cast<Write*>(data);
        write.call.microphones.answered(context, write, success != 0);
    }
    std::uint32_t objectID(const Source& source) {
        auto& known = microphones_.objectIDs_;
        const auto next = static_cast<std::uint32_t>(known.size()) + 1;
        return known.try_emplace(source.serverName, next).first->second;
    }
    Found find(std::uint32_t wanted) {
        for (auto& write : call_->writes) {
            const auto source = microphones_.sources_.find(write.index);
            if (write.success == false && source != microphones_.sources_.end() &&
                objectID(source->second) == wanted) {
                return {&source->second, &write};
            }
        }
        return {};
    }

    PulseMicrophones& microphones_;
    pa_context* context_ = nullptr;
    Call* call_ = nullptr;
};

PulseMicrophones::PulseMicrophones(PulseConnection& connection)
    : Listener(PA_SUBSCRIPTION_MASK_SOURCE),
      connection_(connection),
      controls_(std::make_unique<VolumeControls>(*this)),
      byVolume_(*controls_) {
    connection_.add(*this);
}

PulseMicrophones::~PulseMicrophones() {
    connection_.use([this](pa_context*) {
        for (auto& call : calls_) {
            std::for_each(call.writes.begin(), call.writes.end(), forget);
            if (call.alarm) {
                connection_.freeAlarm(call.alarm);
            }
        }
        calls_.clear();
    });
    connection_.remove(*this);
    const std::lock_guard lock(arrivals_->mutex);
    arrivals_->receivers.clear();
}

void PulseMicrophones::setMuted(bool muted, std::function<void(const MuteOutcome&)> done) {
    bool hasServer = false;
    connection_.use([&](pa_context* context) {
        hasServer = context && (isListing_ || !sources_.empty());
        owesUnmute_ = !context && !muted;
        if (!hasServer) {
            return;
        }
        auto& call = calls_.emplace_back(*this, muted, std::move(done));
        call.alarm = connection_.alarm(
            bound,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
                auto& late = *static_cast<Call*>(data);
                late.microphones.finish(late);
            },
            &call);
        if (!isListing_) {
            begin(context, call);
        }
    });
    if (!hasServer) {
        done({});
    }
}

Subscription PulseMicrophones::onArrival(std::function<void()> arrived) {
    const std::lock_guard lock(arrivals_->mutex);
    const int number = ++arrivals_->last;
    arrivals_->receivers.emplace(number, std::move(arrived));
    return Subscription([weak = std::weak_ptr(arrivals_), number] {
        if (const auto arrivals = weak.lock()) {
            const std::lock_guard guard(arrivals->mutex);
            arrivals->receivers.erase(number);
        }
    });
}

// MARK: - The mirror

void PulseMicrophones::connected(pa_context* context) {
    sources_.clear();
    wishes_.clear();
    hasArrived_ = false;
    auto* question = pa_context_get_source_info_list(
        context,
        [](pa_context* server, const pa_source_info* info, int end, void* data) {
            auto* self = static_cast<PulseMicrophones*>(data);
            end == 0 ? self->take(server, *info) : self->listed(server);
        },
        this);
    isListing_ = question != nullptr;
    asked(question);
}

void PulseMicrophones::disconnected() {
    sources_.clear();
    isListing_ = false;
    while (!calls_.empty()) {
        // The one who unmutes doesn't do it again.
        owesUnmute_ = !calls_.front().muted;
        finish(calls_.front());
    }
}

void PulseMicrophones::changed(pa_context* context, pa_subscription_event_type_t event,
                               std::uint32_t index) {
    if ((event & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_REMOVE) {
        sources_.erase(index);
        wishes_.erase(index);
        return;
    }
    asked(pa_context_get_source_info_by_index(
        context, index,
        [](pa_context* server, const pa_source_info* info, int end, void* data) {
            auto* self = static_cast<PulseMicrophones*>(data);
            if (end == 0) {
                self->take(server, *info);
            } else if (!self->isListing_ && std::exchange(self->hasArrived_, false)) {
                self->tellArrival();
            }
        },
        this));
}

void PulseMicrophones::take(pa_context* context, const pa_source_info& info) {
    if (info.monitor_of_sink != PA_INVALID_INDEX) {
        return;
    }
    Source source;
    source.serverName = info.name ? info.name : "";
    source.name = info.description ? info.description : "";
    if (source.name.empty()) {
        source.name = words().text("Unknown device");
    }
    source.port = info.active_port ? info.active_port->name : "";
    source.volume = info.volume;
    insist(context, info.index, info.mute != 0);
    auto& known = sources_[info.index];
    hasArrived_ = hasArrived_ || known.serverName.empty() || known.port != source.port;
    known = std::move(source);
}

// PipeWire leaves out a write that it takes for needless by what it last heard of the device: a
// mute so gets lost when the unmute before it has not come through yet. When that shows, it is
// repeated.
void PulseMicrophones::insist(pa_context* context, std::uint32_t index, bool isMuted) {
    const auto found = wishes_.find(index);
    if (found == wishes_.end() || found->second.muted == isMuted) {
        return;
    }
    auto& wish = found->second;
    if (wish.repeats == mostRepeats || std::chrono::steady_clock::now() > wish.end) {
        wishes_.erase(found);
        return;
    }
    ++wish.repeats;
    asked(
        pa_context_set_source_mute_by_index(context, index, wish.muted ? 1 : 0, nullptr, nullptr));
}

void PulseMicrophones::listed(pa_context* context) {
    isListing_ = false;
    if (std::exchange(owesUnmute_, false)) {
        calls_.emplace_front(*this, false, [](const MuteOutcome&) {});
    }
    std::vector<Call*> waiting;
    for (auto& call : calls_) {
        if (!call.begun) {
            waiting.push_back(&call);
        }
    }
    for (auto* call : waiting) {
        begin(context, *call);
    }
    if (std::exchange(hasArrived_, false)) {
        tellArrival();
    }
}

void PulseMicrophones::tellArrival() {
    std::vector<std::function<void()>> receivers;
    {
        const std::lock_guard lock(arrivals_->mutex);
        for (const auto& [number, receiver] : arrivals_->receivers) {
            receivers.push_back(receiver);
        }
    }
    for (const auto& receiver : receivers) {
        receiver();
    }
}

// MARK: - The calls

void PulseMicrophones::begin(pa_context* context, Call& call) {
    call.begun = true;
    for (const auto& [index, source] : sources_) {
        wishes_[index] = {.muted = call.muted,
                          .end = std::chrono::steady_clock::now() + insistence,
                          .repeats = 0};
        auto& write = call.writes.emplace_back(call, index, source.name);
        write.operation = pa_context_set_source_mute_by_index(
            context, index, call.muted ? 1 : 0,
            [](pa_context* server, int success, void* data) {
                auto& answer = *static_cast<Write*>(data);
                answer.call.microphones.answered(server, answer, success != 0);
            },
            &write);
        if (!write.operation) {
            write.success = false;
        }
    }
    proceed(context, call);
}

void PulseMicrophones::answered(pa_context* context, Write& write, bool success) {
    write.success = success;
    forget(write);
    proceed(context, write.call);
}

void PulseMicrophones::proceed(pa_context* context, Call& call) {
    const auto isOpen = [](const Write& write) {
        return !write.success;
    };
    const auto wantsVolume = [this](const Write& write) {
        return write.success == false && !write.byVolume && sources_.contains(write.index);
    };
    if (std::any_of(call.writes.begin(), call.writes.end(), isOpen)) {
        return;
    }
    if (std::any_of(call.writes.begin(), call.writes.end(), wantsVolume)) {
        controls_->prepare(context, call);
        byVolume_.setMuted(call.muted);
        for (auto& write : call.writes) {
            write.byVolume = write.byVolume || write.success == false;
        }
        if (std::any_of(call.writes.begin(), call.writes.end(), isOpen)) {
            return;
        }
    }
    finish(call);
}

// Takes it off the list and gives its answer, with the lock held.
void PulseMicrophones::finish(Call& call) {
    MuteOutcome outcome;
    for (auto& write : call.writes) {
        if (write.success == true) {
            ++outcome.mutedCount;
        } else if (!write.success || sources_.contains(write.index)) {
            outcome.unmutable.push_back(write.name);
        }
        forget(write);
    }
    if (call.alarm) {
        connection_.freeAlarm(call.alarm);
    }
    const auto done = std::move(call.done);
    calls_.remove_if([&](const Call& one) { return &one == &call; });
    done(outcome);
}

void PulseMicrophones::forget(Write& write) {
    if (write.operation) {
        pa_operation_cancel(write.operation);
        pa_operation_unref(std::exchange(write.operation, nullptr));
    }
}

} // namespace velmoran
