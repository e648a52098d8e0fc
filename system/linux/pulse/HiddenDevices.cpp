#include "system/linux/pulse/HiddenDevices.h"

#include "system/linux/pulse/PulseContext.h"

namespace velmoran {

namespace {

// What is removed, or hidden, together is looked for together.
constexpr Seconds untilLook = 0.01;
// Where the server lets nobody in right now.
constexpr Seconds untilNextAttempt = 0.5;

void release(pa_operation* question) {
    if (question != nullptr) {
        pa_operation_unref(question);
    }
}

} // namespace

class HiddenDevices::Look {
public:
    /// `over` is called once, unless this goes first.
    Look(pa_mainloop_api* api, const std::string& server, const std::set<Device>& removed,
         std::function<void(Seen)> over)
        : removed_(removed),
          over_(std::move(over)),
          context_(pa_context_new(api, "Velmoran")) {
        pa_context_set_state_callback(
            context_, [](pa_context*, void* self) { static_cast<Look*>(self)->stateChanged(); },
            this);
        if (pa_context_connect(context_, server.empty() ? nullptr : server.c_str(),
                               PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            end(Seen::nothing);
        }
    }
    ~Look() {
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_disconnect(context_); // cancels what was asked
        pa_context_unref(context_);
    }
    Look(const Look&) = delete;
    Look& operator=(const Look&) = delete;

private:
    void stateChanged() {
        const auto state = pa_context_get_state(context_);
        if (state == PA_CONTEXT_READY) {
            auto* sources =
                pa_context_get_source_info_list(context_, list<pa_source_info, true>, this);
            auto* sinks = pa_context_get_sink_info_list(context_, list<pa_sink_info, false>, this);
            release(sources);
            release(sinks);
            if (sources == nullptr || sinks == nullptr) {
                end(Seen::nothing);
            }
        } else if (!PA_CONTEXT_IS_GOOD(state)) {
            end(Seen::nothing);
        }
    }

    template <class Info, bool isSource>
    static void list(pa_context*, const Info* info, int end, void* data) {
        auto* self = static_cast<Look*>(data);
        if (end < 0) {
            self->end(Seen::nothing);
        } else if (end == 0) {
            self->isThere_ = self->isThere_ || self->removed_.contains({isSource, info->index});
        } else if (--self->lists_ == 0) {
            self->end(self->isThere_ ? Seen::stillThere : Seen::gone);
        }
    }

    void end(Seen seen) {
        if (const auto over = std::exchange(over_, nullptr)) {
            over(seen);
        }
    }

    const std::set<Device>& removed_;
    std::function<void(Seen)> over_;
    pa_context* context_;
    int lists_ = 2; ///< that are still to come
    bool isThere_ = false;
};

HiddenDevices::HiddenDevices(PulseContext& context, std::function<void()> found,
                             std::function<void()> gone)
    : context_(context),
      found_(std::move(found)),
      gone_(std::move(gone)) {}

HiddenDevices::~HiddenDevices() = default;

void HiddenDevices::removed(pa_threaded_mainloop* loop, unsigned facility, std::uint32_t index) {
    if (facility == PA_SUBSCRIPTION_EVENT_SOURCE || facility == PA_SUBSCRIPTION_EVENT_SINK) {
        removed_.emplace(facility == PA_SUBSCRIPTION_EVENT_SOURCE, index);
        lookSoon(loop);
    }
}

void HiddenDevices::stop() {
    begin_.reset();
    end_.reset();
    look_.reset();
    removed_.clear();
    lookedFor_.clear();
}

void HiddenDevices::lookSoon(pa_threaded_mainloop* loop) {
    if (begin_ || look_ || (removed_.empty() && lookedFor_.empty())) {
        return;
    }
    begin_ = context_.after(lookedFor_.empty() ? untilLook : untilNextAttempt, [this, loop] {
        begin_.reset();
        lookedFor_.merge(std::exchange(removed_, {}));
        look_ = std::make_unique<Look>(pa_threaded_mainloop_get_api(loop), context_.server(),
                                       lookedFor_, [this, loop](Seen seen) { looked(loop, seen); });
    });
}

void HiddenDevices::looked(pa_threaded_mainloop* loop, Seen seen) {
    // Not in the look's own call.
    end_ = context_.after(0, [this, loop, seen] {
        end_.reset();
        look_.reset();
        if (seen != Seen::nothing) {
            lookedFor_.clear();
        }
        if (seen == Seen::stillThere) {
            found_();
            return;
        }
        lookSoon(loop);
        if (seen == Seen::gone) {
            gone_();
        }
    });
}

} // namespace velmoran
