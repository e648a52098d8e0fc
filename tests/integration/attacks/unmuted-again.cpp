// While a mute stands, another program unmutes the microphone ten times a second.
#include "integration/attacks/Attack.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <functional>

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <pulse/subscribe.h>

namespace velmoran::attacks {

namespace {

using Clock = std::chrono::steady_clock;

/// Unmutes the microphone and hears from the server how long it stays so.
class Unmuter {
public:
    Unmuter() : loop_(pa_mainloop_new()) {
        context_ = pa_context_new(pa_mainloop_get_api(loop_), "unmuter");
        if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 ||
            !hearUntil([this] { return pa_context_get_state(context_) == PA_CONTEXT_READY; },
                       patience)) {
            throw std::runtime_error("the sound server can't be reached");
        }
        pa_context_set_subscribe_callback(
            context_,
            [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* data) {
                auto* self = static_cast<Unmuter*>(data);
                // What is asked for now may be the silence again.
                self->changed_ = self->changed_.value_or(Clock::now());
                self->ask();
            },
            this);
        over(pa_context_subscribe(context_, PA_SUBSCRIPTION_MASK_SOURCE, nullptr, nullptr));
    }
    ~Unmuter() {
        pa_context_disconnect(context_);
        pa_context_unref(context_);
        pa_mainloop_free(loop_);
    }
    Unmuter(const Unmuter&) = delete;
    Unmuter& operator=(const Unmuter&) = delete;

    /// How long it took from the server's word that something had changed until it said that the
    /// microphone is muted; empty if it didn't within the bound.
    std::optional<std::chrono::duration<double>> unmute(Bound bound) {
        changed_.reset();
        muted_.reset();
        over(pa_context_set_source_mute_by_name(context_, source, 0, nullptr, nullptr));
        if (!hearUntil([this] { return muted_.has_value(); }, bound)) {
            return std::nullopt;
        }
        return *muted_ - *changed_;
    }
    /// Hears the server for as long.
    void pause(Bound time) {
        hearUntil([] { return false; }, time);
    }

private:
    static constexpr const char* source = "virtual-microphone";

    static void over(pa_operation* operation) {
        if (operation != nullptr) {
            pa_operation_unref(operation);
        }
    }
    void ask() {
        over(pa_context_get_source_info_by_name(
            context_, source,
            [](pa_context*, const pa_source_info* info, int end, void* self) {
                if (end == 0) {
                    static_cast<Unmuter*>(self)->hear(info->mute != 0);
                }
            },
            this));
    }
    void hear(bool isMuted) {
        if (isMuted && changed_ && !muted_) {
            muted_ = Clock::now();
        }
    }
    bool hearUntil(const std::function<bool()>& condition, Bound bound) {
        const auto end = Clock::now() + bound;
        while (!condition()) {
            const auto left = std::chrono::ceil<Bound>(end - Clock::now()).count();
            if (left <= 0) {
                return false;
            }
            pa_mainloop_prepare(loop_, static_cast<int>(left) * 1000);
            pa_mainloop_poll(loop_);
            pa_mainloop_dispatch(loop_);
        }
        return true;
    }

    pa_mainloop* loop_;
    pa_context* context_;
    std::optional<Clock::time_point> changed_;
    std::optional<Clock::time_point> muted_;
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

std::string milliseconds(double seconds) {
    const auto tenths = std::lround(seconds * 1e4);
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms";
}

} // namespace

Verdict unmutedAgain(Scene& scene) {
    const int times = scene.isSlow() ? 100 : 30;
    scene.startSound();
    auto& watch = scene.startWatch({"--json"});
    if (scene.ctl({"stop"}).status != 0) {
        throw std::runtime_error("nothing was muted");
    }
    const auto file = scene.session().file("heard.raw");
    scene.session().start("listener", {"parecord", "--raw", "--format=s16le", "--rate=48000",
                                       "--channels=1", "--latency-msec=20", file});
    const auto size = [&] {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(file, none);
        return none ? 0 : bytes;
    };
    if (!waitUntil([&] { return size() > 9600; })) {
        throw std::runtime_error("the listener gets nothing");
    }
    Unmuter unmuter;
    std::vector<double> spans;
    for (int time = 0; time < times; ++time) {
        const auto span = unmuter.unmute(within(1s));
        if (!span) {
            return fell("unmuted for more than a second");
        }
        spans.push_back(span->count());
        unmuter.pause(100ms);
    }
    scene.session().stop("listener");
    const auto heard = support::readFile(file);
    std::size_t loud = 0;
    for (std::size_t at = 0; at + 1 < heard.size(); at += 2) {
        loud += heard[at] != 0 || heard[at + 1] != 0 ? 1 : 0;
    }
    const auto share = 200 * loud / heard.size();
    std::ranges::sort(spans);
    const double most = spans[spans.size() * 9 / 10];
    const auto cards =
        count(watch.output(), "\"title\":\"Another program keeps unmuting the microphone\"");
    const auto seen = std::to_string(times) + " times unmuted, median " +
                      milliseconds(spans[spans.size() / 2]) + ", nine of ten within " +
                      milliseconds(most) + ", " + std::to_string(share) + " % heard, " +
                      std::to_string(cards) + " card(s)";
    const std::chrono::duration<double> bound = within(20ms);
    return most <= bound.count() && cards == 1 ? held(seen) : fell(seen);
}

} // namespace velmoran::attacks
