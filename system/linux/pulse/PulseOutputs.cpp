#include "system/linux/pulse/PulseOutputs.h"

#include "core/text/Localizer.h"

#include <algorithm>
#include <array>
#include <utility>

#include <pulse/proplist.h>
#include <pulse/volume.h>

namespace velmoran {

namespace {

// What both servers call the sink that they make where there is no other.
constexpr const char* noSink = "auto_null";
// When the default is asked for again, after a sink has come or gone: what the server said about it
// at that moment may be older than the choice, and it need not say so.
constexpr std::array<Seconds, 2> retryDelays = {0.3, 1.2};
// And then, as long as the default isn't among the sinks that the server has told of.
constexpr Seconds laterRetryDelay = 3;
constexpr std::size_t mostRetries = 20;

std::string textOf(const pa_proplist* properties, const char* key) {
    const char* value = pa_proplist_gets(properties, key);
    return value ? value : "";
}

SinkTraits::Port portOf(const pa_sink_port_info* port) {
    switch (port ? port->type : unsigned{PA_DEVICE_PORT_TYPE_UNKNOWN}) {
    case PA_DEVICE_PORT_TYPE_UNKNOWN:
        return SinkTraits::Port::none;
    case PA_DEVICE_PORT_TYPE_HEADPHONES:
    case PA_DEVICE_PORT_TYPE_HEADSET:
        return SinkTraits::Port::headphones;
    case PA_DEVICE_PORT_TYPE_SPDIF:
    case PA_DEVICE_PORT_TYPE_HDMI:
    case PA_DEVICE_PORT_TYPE_TV:
        return SinkTraits::Port::digital;
    default:
        return SinkTraits::Port::other;
    }
}

} // namespace

PulseOutputs::PulseOutputs(PulseContext& pulse, SerialQueue& queue)
    : Listener(static_cast<pa_subscription_mask_t>(
          PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_CARD | PA_SUBSCRIPTION_MASK_SERVER)),
      pulse_(pulse),
      queue_(queue) {
    pulse_.add(*this);
}

PulseOutputs::~PulseOutputs() {
    pulse_.use([this](pa_context*) { stopRetries(); });
    pulse_.remove(*this);
    const std::lock_guard lock(shared_->mutex);
    shared_->onChange = nullptr;
}

std::optional<OutputDeviceInfo> PulseOutputs::current() {
    const std::lock_guard lock(shared_->mutex);
    return shared_->answers.current;
}

bool PulseOutputs::exists(std::uint32_t objectID) {
    const std::lock_guard lock(shared_->mutex);
    const auto found = shared_->answers.sinks.find(objectID);
    return found != shared_->answers.sinks.end() && found->second.isPluggedIn;
}

bool PulseOutputs::setMuted(bool muted, std::uint32_t objectID) {
    std::string name;
    {
        const std::lock_guard lock(shared_->mutex);
        const auto found = shared_->answers.sinks.find(objectID);
        if (found == shared_->answers.sinks.end()) {
            return false;
        }
        name = found->second.serverName;
    }
    return pulse_.perform(
        [&](pa_context* context, pa_context_success_cb_t answer, void* data) {
            return pa_context_set_sink_mute_by_name(context, name.c_str(), muted ? 1 : 0, answer,
                                                    data);
        },
        bound);
}

void PulseOutputs::preferDefault(const std::string& serverName) {
    pulse_.use([&](pa_context*) {
        preferredSink_ = serverName;
        if (context() && (!isDefaultKnown() || areAtOdds())) {
            askForDefault();
            askForSinks();
            stopRetries();
            retryLater();
        }
        publish();
    });
}

void PulseOutputs::onChange(std::function<void()> callback) {
    const std::lock_guard lock(shared_->mutex);
    shared_->onChange = std::move(callback);
}

void PulseOutputs::connected() {
    disconnected();
    askForDefault();
    ask(pa_context_get_card_info_list(context(), callbackTo<&PulseOutputs::storeCard>, this));
    askForSinks();
}

void PulseOutputs::disconnected() {
    sinks_.clear();
    cards_.clear();
    defaultSink_.clear();
    stopRetries();
    publish();
}

void PulseOutputs::changed(unsigned facility, unsigned type, std::uint32_t index) {
    const bool isGone = type == PA_SUBSCRIPTION_EVENT_REMOVE;
    if (facility == PA_SUBSCRIPTION_EVENT_SINK && type != PA_SUBSCRIPTION_EVENT_CHANGE) {
        // A default that was chosen before the sink was listed need not be announced again.
        askForDefault();
        stopRetries();
        retryLater();
    }
    if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
        askForDefault();
    } else if (facility == PA_SUBSCRIPTION_EVENT_CARD && isGone) {
        cards_.erase(index);
    } else if (facility == PA_SUBSCRIPTION_EVENT_CARD) {
        ask(pa_context_get_card_info_by_index(context(), index,
                                              callbackTo<&PulseOutputs::storeCard>, this));
    } else if (isGone) {
        sinks_.erase(index);
        publish();
    } else {
        ask(pa_context_get_sink_info_by_index(context(), index,
                                              callbackTo<&PulseOutputs::storeSink>, this));
    }
}

void PulseOutputs::retryLater() {
    nextRetry_ = pulse_.after(
        retries_ < retryDelays.size() ? retryDelays[retries_] : laterRetryDelay, [this] {
            nextRetry_.reset();
            if (retries_ < retryDelays.size() || (!isDefaultKnown() && retries_ < mostRetries)) {
                retryLater();
            }
            askForDefault();
            // A sink that has just come may not have been known yet to who announced it.
            askForSinks();
        });
    ++retries_;
}

void PulseOutputs::stopRetries() {
    retries_ = 0;
    nextRetry_.reset();
}

void PulseOutputs::askForSinks() {
    ask(pa_context_get_sink_info_list(context(), callbackTo<&PulseOutputs::storeSink>, this));
}

void PulseOutputs::askForDefault() {
    ask(pa_context_get_server_info(
        context(),
        [](pa_context*, const pa_server_info* info, void* data) {
            auto* self = static_cast<PulseOutputs*>(data);
            if (info) {
                self->defaultSink_ = info->default_sink_name ? info->default_sink_name : "";
            }
            self->answered();
        },
        this));
}

void PulseOutputs::storeSink(const pa_sink_info& info) {
    Sink sink;
    sink.serverName = info.name ? info.name : "";
    sink.card = info.card;
    sink.traits.name = info.description ? info.description : "";
    sink.traits.bus = textOf(info.proplist, PA_PROP_DEVICE_BUS);
    sink.traits.formFactor = textOf(info.proplist, PA_PROP_DEVICE_FORM_FACTOR);
    sink.traits.api = textOf(info.proplist, PA_PROP_DEVICE_API);
    sink.traits.port = portOf(info.active_port);
    if (pa_cvolume_valid(&info.volume) != 0) {
        const auto average = static_cast<float>(pa_cvolume_avg(&info.volume));
        sink.volume = std::min(average / static_cast<float>(PA_VOLUME_NORM), 1.0F);
    }
    sink.isMuted = info.mute != 0;
    sink.isUnplugged = info.active_port && info.active_port->available == PA_PORT_AVAILABLE_NO;
    sinks_[info.index] = std::move(sink);
}

void PulseOutputs::storeCard(const pa_card_info& info) {
    cards_[info.index] = {textOf(info.proplist, PA_PROP_DEVICE_BUS),
                          textOf(info.proplist, PA_PROP_DEVICE_FORM_FACTOR)};
}

std::uint32_t PulseOutputs::objectIDOf(const std::string& serverName) {
    const auto [id, isNew] = objectIDs_.try_emplace(serverName, 0);
    if (isNew) {
        id->second = firstObjectID + static_cast<std::uint32_t>(objectIDs_.size());
    }
    return id->second;
}

const PulseOutputs::Sink* PulseOutputs::sinkOf(const std::string& serverName) const {
    const auto found = std::find_if(sinks_.begin(), sinks_.end(), [&](const auto& each) {
        return each.second.serverName == serverName;
    });
    return found == sinks_.end() ? nullptr : &found->second;
}

bool PulseOutputs::areAtOdds() const {
    return preferredSink_ != defaultSink_ && sinkOf(preferredSink_) && sinkOf(defaultSink_);
}

bool PulseOutputs::isDefaultKnown() const {
    const auto& wanted = preferredSink_.empty() ? defaultSink_ : preferredSink_;
    return wanted.empty() || sinkOf(wanted);
}

void PulseOutputs::publish() {
    Answers answers;
    const bool isRetrying = nextRetry_ && retries_ <= retryDelays.size();
    // The session manager's word can be ahead of the server's news, by which alone a sink that was
    // lost differs from one that was left. They are asked for once more before it counts.
    const bool canBeBehind = nextRetry_ && (retries_ <= 1 || isWaiting());
    const auto* shown = sinkOf(shownSink_);
    if (!canBeBehind || !areAtOdds() || !shown || shown->isUnplugged) {
        // Nor is the server's word on the default that follows worth more than the manager's.
        const bool isManagersWord =
            sinkOf(preferredSink_) || (isRetrying && !preferredSink_.empty());
        shownSink_ = isManagersWord ? preferredSink_ : defaultSink_;
    }
    for (const auto& [index, sink] : sinks_) {
        if (sink.serverName.empty() || sink.serverName == noSink) {
            continue;
        }
        const auto objectID = objectIDOf(sink.serverName);
        answers.sinks[objectID] = {sink.serverName, !sink.isUnplugged};
        if (sink.serverName != shownSink_) {
            continue;
        }
        auto traits = sink.traits;
        if (const auto card = cards_.find(sink.card); card != cards_.end()) {
            traits.bus = traits.bus.empty() ? card->second.bus : traits.bus;
            traits.formFactor =
                traits.formFactor.empty() ? card->second.formFactor : traits.formFactor;
        }
        answers.current = OutputDeviceInfo{
            .objectID = objectID,
            .name = traits.name.empty() ? words().text("Unknown device") : traits.name,
            .kind = outputKind(traits),
            .volume = sink.volume,
            .isMuted = sink.isMuted};
    }
    {
        const std::lock_guard lock(shared_->mutex);
        // The default has gone and the next one isn't chosen yet: that moment is no lack of
        // outputs.
        if (!sinkOf(shownSink_) && isRetrying && !answers.sinks.empty()) {
            answers.current = shared_->answers.current;
        }
        if (answers == shared_->answers) {
            return;
        }
        shared_->answers = std::move(answers);
    }
    queue_.post([shared = shared_] {
        std::function<void()> onChange;
        {
            const std::lock_guard lock(shared->mutex);
            onChange = shared->onChange;
        }
        if (onChange) {
            onChange();
        }
    });
}

} // namespace velmoran
