#include "system/linux/pulse/PulseMicrophones.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <pulse/error.h>

namespace velmoran {

namespace {

// A device obeys within some milliseconds; what others set later is theirs.
constexpr std::chrono::milliseconds insistence{500};
constexpr int mostRepeats = 3;
// One that is plugged in may get its stored mute only some moments later.
constexpr std::chrono::milliseconds restoration{1000};

// libpulse gives a question up after 30 seconds; the server may still do what it was told.
bool hasTimedOut(pa_context* context, bool success) {
    return !success && pa_context_errno(context) == PA_ERR_TIMEOUT;
}

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
        if (call_->muted && found.write->isFirstMute &&
            pa_cvolume_is_muted(&found.source->volume) != 0) {
            found.write->isFirstMute = false;
            microphones_.mutedHere_.erase(found.write->place);
        }
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
        while (!calls_.empty()) {
            drop(calls_.front());
        }
    });
    connection_.remove(*this);
    const std::lock_guard lock(arrivals_->mutex);
    arrivals_->receivers.clear();
}

void PulseMicrophones::setMuted(bool muted, Answer done, Answer late) {
    connection_.use([&](pa_context* context) {
        // A call that still waits for the server is overtaken by this one.
        for (auto next = calls_.begin(); next != calls_.end();) {
            auto& before = *next++;
            if (!before.only && !before.done) {
                drop(before);
            }
        }
        auto& call = calls_.emplace_back(*this, muted);
        call.done = std::move(done);
        call.late = std::move(late);
        if (!context) {
            answer(call);
            return;
        }
        call.alarm = connection_.alarm(
            bound,
            [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
                auto& overdue = *static_cast<Call*>(data);
                overdue.microphones.overdue(overdue);
            },
            &call);
        if (!isListing_) {
            begin(context, call);
        }
    });
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
            if (end == 0) {
                self->take(server, *info);
            } else if (hasTimedOut(server, end > 0)) {
                self->connected(server);
            } else {
                self->listed(server);
            }
        },
        this);
    isListing_ = question != nullptr;
    asked(question);
}

void PulseMicrophones::disconnected() {
    isListing_ = false;
    for (auto next = calls_.begin(); next != calls_.end();) {
        auto& call = *next++;
        answer(call);
        if (call.only || !isLast(call)) {
            drop(call);
        } else {
            forgetWrites(call);
            call.begun = false;
        }
    }
    sources_.clear();
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
                self->beginWaiting(server);
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
    source.isMuted = info.mute != 0;
    insist(context, info.index, source.isMuted);
    auto& known = sources_[info.index];
    const bool hasArrived = known.serverName.empty() || known.port != source.port;
    known = std::move(source);
    if (!hasArrived) {
        return;
    }
    hasArrived_ = true;
    if (!isMuteWanted_ && mutedHere_.contains({known.serverName, known.port})) {
        auto& call = calls_.emplace_back(*this, false);
        call.only = info.index;
        begin(context, call);
    }
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
    beginWaiting(context);
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

bool PulseMicrophones::isMuted(std::uint32_t index, const Source& source) const {
    const auto wish = wishes_.find(index);
    return wish != wishes_.end() && std::chrono::steady_clock::now() <= wish->second.end
               ? wish->second.muted // the mirror may not have it yet
               : source.isMuted;
}

void PulseMicrophones::beginWaiting(pa_context* context) {
    std::vector<Call*> waiting;
    for (auto& call : calls_) {
        // A server that has just come has its sources only a moment later.
        if (!call.begun && (call.done || !sources_.empty())) {
            waiting.push_back(&call);
        }
    }
    for (auto* call : waiting) {
        begin(context, *call);
    }
}

void PulseMicrophones::begin(pa_context* context, Call& call) {
    call.begun = true;
    if (!call.only && !(call.muted && sources_.empty())) {
        isMuteWanted_ = call.muted;
    }
    for (const auto& [index, source] : sources_) {
        if (call.only && *call.only != index) {
            continue;
        }
        auto& write = call.writes.emplace_back(call, index, source);
        if (call.muted && !isMuted(index, source)) {
            write.isFirstMute = mutedHere_.insert(write.place).second;
        }
        wishes_[index] = {.muted = call.muted,
                          .end = std::chrono::steady_clock::now() +
                                 (call.only ? restoration : insistence),
                          .repeats = 0};
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
    auto& call = write.call;
    if (hasTimedOut(context, success)) {
        // Only a new question has an answer that can still be heard.
        forgetWrites(call);
        begin(context, call);
        return;
    }
    write.success = success;
    forget(write);
    if (success && !call.muted && !isMuteWanted_) {
        mutedHere_.erase(write.place);
    }
    // The device obeys from now on, however long the server has slept.
    if (const auto wish = wishes_.find(write.index);
        wish != wishes_.end() && wish->second.muted == call.muted) {
        wish->second.end =
            std::max(wish->second.end, std::chrono::steady_clock::now() + insistence);
    }
    proceed(context, call);
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
    const auto reached = outcome(call);
    for (const auto& write : call.writes) {
        if (write.isFirstMute && write.success == false) {
            mutedHere_.erase(write.place);
        }
    }
    const bool isLate = !call.done;
    const auto tell = std::move(isLate ? call.late : call.done);
    drop(call);
    if (tell && (!isLate || reached.mutedCount > 0)) {
        tell({reached});
    }
}

void PulseMicrophones::overdue(Call& call) {
    answer(call);
    if (!isLast(call)) {
        drop(call);
    }
}

void PulseMicrophones::answer(Call& call) {
    if (call.alarm) {
        connection_.freeAlarm(std::exchange(call.alarm, nullptr));
    }
    if (const auto done = std::exchange(call.done, nullptr)) {
        done({outcome(call), false});
    }
}

/// What it wants isn't overtaken by another call to all sources.
bool PulseMicrophones::isLast(const Call& call) const {
    const auto last =
        std::find_if(calls_.rbegin(), calls_.rend(), [](const Call& each) { return !each.only; });
    return last != calls_.rend() && &*last == &call;
}

MuteOutcome PulseMicrophones::outcome(const Call& call) const {
    MuteOutcome outcome;
    for (const auto& write : call.writes) {
        if (write.success == true) {
            ++outcome.mutedCount;
        } else if (!write.success || sources_.contains(write.index)) {
            outcome.unmutable.push_back(write.name);
        }
    }
    return outcome;
}

void PulseMicrophones::drop(Call& call) {
    forgetWrites(call);
    if (call.alarm) {
        connection_.freeAlarm(call.alarm);
    }
    calls_.remove_if([&](const Call& one) { return &one == &call; });
}

void PulseMicrophones::forgetWrites(Call& call) {
    std::for_each(call.writes.begin(), call.writes.end(), forget);
    call.writes.clear();
}

void PulseMicrophones::forget(Write& write) {
    if (write.operation) {
        pa_operation_cancel(write.operation);
        pa_operation_unref(std::exchange(write.operation, nullptr));
    }
}

} // namespace velmoran
