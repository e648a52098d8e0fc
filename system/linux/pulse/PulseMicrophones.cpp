#include "system/linux/pulse/PulseMicrophones.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <pulse/error.h>

namespace velmoran {

namespace {

// libpulse gives a question up after 30 seconds; the server may still do what it was told.
bool hasTimedOut(pa_context* context, bool success) {
    return !success && pa_context_errno(context) == PA_ERR_TIMEOUT;
}

} // namespace

PulseMicrophones::PulseMicrophones(PulseContext& pulse)
    : Listener(PA_SUBSCRIPTION_MASK_SOURCE),
      pulse_(pulse) {
    pulse_.add(*this);
}

PulseMicrophones::~PulseMicrophones() {
    pulse_.use([this](pa_context*) {
        while (!calls_.empty()) {
            drop(calls_.front());
        }
    });
    pulse_.remove(*this);
    pulse_.use([this](pa_context*) { hold_.clear(); });
}

void PulseMicrophones::setMuted(bool muted, Answer done, Answer late) {
    pulse_.use([&](pa_context* context) {
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
        if (!context && !pulse_.mayComeBack()) {
            answer(call);
            return;
        }
        call.alarm = pulse_.after(bound, [this, &call] { overdue(call); });
        call.awaitsSources = !context;
        if (context && !isListing_) {
            begin(call);
        }
    });
}

void PulseMicrophones::recall(const std::optional<MutedPlaces>& muted, bool stands) {
    pulse_.use([&](pa_context*) {
        isMuteWanted_ = stands;
        mutedHere_.recall(muted);
        tellOfMutedHere();
    });
}

void PulseMicrophones::connected() {
    sources_.clear();
    wishes_.clear();
    hold_.clear();
    hasArrived_ = false;
    auto* question = pa_context_get_source_info_list(
        context(),
        [](pa_context* server, const pa_source_info* info, int end, void* data) {
            auto* self = static_cast<PulseMicrophones*>(data);
            if (end == 0) {
                self->store(*info);
            } else if (hasTimedOut(server, end > 0)) {
                self->connected();
            } else {
                self->isListing_ = false;
                self->beginWaiting();
                self->tellArrivals();
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
        if (call.only) {
            drop(call);
        } else {
            forgetWrites(call);
            call.begun = false;
            call.awaitsSources = true;
        }
    }
    sources_.clear();
    hold_.clear();
}

void PulseMicrophones::serverGone() {
    for (auto next = calls_.begin(); next != calls_.end();) {
        overdue(*next++);
    }
}

void PulseMicrophones::changed(unsigned, unsigned type, std::uint32_t index) {
    if (type == PA_SUBSCRIPTION_EVENT_REMOVE) {
        sources_.erase(index);
        wishes_.forget(index);
        hold_.forget(index);
        return;
    }
    asked(pa_context_get_source_info_by_index(
        context(), index,
        [](pa_context*, const pa_source_info* info, int end, void* data) {
            auto* self = static_cast<PulseMicrophones*>(data);
            if (end == 0) {
                self->store(*info);
            } else if (!self->isListing_ && self->hasArrived_) {
                self->beginWaiting();
                self->tellArrivals();
            }
        },
        this));
}

void PulseMicrophones::store(const pa_source_info& info) {
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
    auto& known = sources_[info.index];
    const bool hasArrived = known.serverName.empty() || known.port != source.port;
    const bool wasMuted = known.isMuted;
    known = std::move(source);
    if (isMuteWanted_ && !known.isMuted) {
        if (wasMuted && !hasArrived && !isBeingWritten(info.index)) {
            mutedHere_.add(known.place()); // whoever had muted it before wants it no longer
        }
        // One that is new has to be noted as muted here before it is.
        if (!hasArrived || mutedHere_.contains(known.place())) {
            hold_.unmuted(info.index);
        }
        // Answers come in the order of the questions: this one was asked before that write.
        if (wasMuted && !isBeingWritten(info.index)) {
            unmutes_();
        }
    } else if (!isMuteWanted_ && known.isMuted && wishes_.mayRepeat(info.index)) {
        // PipeWire leaves out a write that it takes for needless by what it last heard of the
        // device: an unmute so gets lost when the mute before it has not come through yet.
        writeMute(info.index, false);
    }
    if (!hasArrived) {
        return;
    }
    hasArrived_ = true;
    if (!isMuteWanted_ && mutedHere_.contains(known.place())) {
        auto& call = calls_.emplace_back(*this, false);
        call.only = info.index;
        begin(call);
    }
}

void PulseMicrophones::writeMute(std::uint32_t index, bool muted) {
    asked(pa_context_set_source_mute_by_index(context(), index, muted ? 1 : 0, nullptr, nullptr));
}

void PulseMicrophones::tellArrivals() {
    if (std::exchange(hasArrived_, false)) {
        arrivals_();
    }
}

void PulseMicrophones::tellOfMutedHere() {
    if (mutedHere_.hasNews()) {
        mutedHereChanges_(mutedHere_.places());
    }
}

bool PulseMicrophones::isBeingWritten(std::uint32_t index) const {
    const auto isOpen = [&](const Write& write) {
        return write.index == index && write.operation;
    };
    return std::ranges::any_of(
        calls_, [&](const Call& call) { return std::ranges::any_of(call.writes, isOpen); });
}

bool PulseMicrophones::isMuted(std::uint32_t index, const Source& source) const {
    return wishes_.wanted(index).value_or(source.isMuted);
}

void PulseMicrophones::beginWaiting() {
    for (auto next = calls_.begin(); next != calls_.end();) {
        auto& call = *next++;
        // A server that has just come has its sources only a moment later.
        if (!call.begun && ((call.done && !call.awaitsSources) || !sources_.empty())) {
            begin(call);
        }
    }
}

void PulseMicrophones::begin(Call& call) {
    call.begun = true;
    call.hasMissed = false;
    forgetWrites(call);
    if (!call.only && !(call.muted && sources_.empty())) {
        isMuteWanted_ = call.muted;
        if (!isMuteWanted_) {
            hold_.clear();
        }
    }
    for (const auto& [index, source] : sources_) {
        if (!isConcerned(call, index, source)) {
            if (!call.only) {
                wishes_.forget(index); // that of the mute before isn't to be taken for this one
            }
            continue;
        }
        auto& write = call.writes.emplace_back(call, index, source);
        if (call.muted && !isMuted(index, source)) {
            write.isFirstMute = mutedHere_.add(write.place);
        }
        wishes_.set(index, call.muted,
                    call.only ? SourceWishes::restoration : SourceWishes::insistence);
        sent(write, pa_context_set_source_mute_by_index(context(), index, call.muted ? 1 : 0,
                                                        writeAnswered, &write));
    }
    proceed(call);
}

/// What the user had muted before stays as it is.
bool PulseMicrophones::isConcerned(const Call& call, std::uint32_t index,
                                   const Source& source) const {
    return call.only ? *call.only == index
                     : call.muted || call.takesAny || mutedHere_.contains(source.place());
}

void PulseMicrophones::sent(Write& write, pa_operation* operation) {
    write.operation = operation;
    write.success = operation ? std::nullopt : std::optional(false);
}

void PulseMicrophones::writeAnswered(pa_context* context, int success, void* data) {
    auto& write = *static_cast<Write*>(data);
    auto& call = write.call;
    auto& self = call.microphones;
    if (hasTimedOut(context, success != 0)) {
        // Only a new question has an answer that can still be heard.
        forgetWrites(call);
        self.begin(call);
        return;
    }
    call.hasMissed =
        call.hasMissed || (success == 0 && pa_context_errno(context) == PA_ERR_NOENTITY);
    forget(write);
    write.success = success != 0;
    if (*write.success && !call.muted && !self.isMuteWanted_) {
        self.mutedHere_.erase(write.place);
    }
    self.wishes_.taken(write.index, call.muted);
    self.proceed(call);
}

void PulseMicrophones::proceed(Call& call) {
    const auto isOpen = [](const Write& write) {
        return !write.success;
    };
    if (std::any_of(call.writes.begin(), call.writes.end(), isOpen)) {
        return;
    }
    setByVolume(call);
    if (std::any_of(call.writes.begin(), call.writes.end(), isOpen)) {
        return;
    }
    // What was removed may be hidden from here, and is to be muted all the same. That is known
    // soon.
    if (call.muted && !call.only && call.done && (call.hasMissed || pulse_.mayBeHidden())) {
        call.begun = false;
        return;
    }
    finish(call);
}

// The sources whose switch didn't work. What was sent counts as done here; what the server answers
// decides later.
void PulseMicrophones::setByVolume(Call& call) {
    std::vector<SourceVolumes::Source> sources;
    for (auto& write : call.writes) {
        const auto found = sources_.find(write.index);
        if (write.success != false || write.byVolume || found == sources_.end()) {
            continue;
        }
        const auto& source = found->second;
        write.byVolume = true;
        const auto set = [this, &call, &write, &source](const pa_cvolume& channels) {
            if (call.muted && write.isFirstMute && pa_cvolume_is_muted(&source.volume) != 0) {
                write.isFirstMute = false;
                mutedHere_.erase(write.place);
            }
            sent(write, pa_context_set_source_volume_by_index(context(), write.index, &channels,
                                                              writeAnswered, &write));
            return write.operation != nullptr;
        };
        sources.push_back({source.serverName, source.volume, set});
    }
    volumes_.setMuted(call.muted, std::move(sources));
}

// Takes it off the list and gives its answer, with the lock held.
void PulseMicrophones::finish(Call& call) {
    const auto reached = outcome(call);
    for (const auto& write : call.writes) {
        if (write.isFirstMute && write.success == false) {
            mutedHere_.erase(write.place);
        }
    }
    if (call.takesAny && !call.only && reached.unmutable.empty() && !sources_.empty()) {
        mutedHere_.allUnmuted();
    }
    const bool isLate = !call.done;
    const auto tell = std::move(isLate ? call.late : call.done);
    drop(call);
    if (tell && (!isLate || reached.mutedCount > 0)) {
        tell(reached);
    }
    tellOfMutedHere();
}

void PulseMicrophones::overdue(Call& call) {
    answer(call);
    if (!isLast(call)) {
        drop(call);
    }
}

void PulseMicrophones::answer(Call& call) {
    call.alarm.reset();
    if (const auto done = std::exchange(call.done, nullptr)) {
        auto reached = outcome(call);
        reached.serverAnswered = false;
        done(reached);
    }
}

/// What it wants isn't overtaken by another call to all sources.
bool PulseMicrophones::isLast(const Call& call) const {
    const auto last =
        std::find_if(calls_.rbegin(), calls_.rend(), [](const Call& each) { return !each.only; });
    return last != calls_.rend() && &*last == &call;
}

MuteAnswer PulseMicrophones::outcome(const Call& call) const {
    MuteAnswer outcome;
    outcome.hadNothing = call.hasNothing;
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
