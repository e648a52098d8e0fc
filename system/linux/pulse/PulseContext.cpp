#include "system/linux/pulse/PulseContext.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

#include <pulse/proplist.h>
#include <pulse/rtclock.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace velmoran {

namespace {

// A socket is there an instant before its server listens.
constexpr Seconds afterSocketCame = 0.02;
constexpr Seconds firstPatience = 1.0;
constexpr Seconds longestPatience = 2.5;

std::string environmentVariable(const char* name) {
    const char* value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value ? value : "";
}

} // namespace

class PulseContext::Lock {
public:
    explicit Lock(pa_threaded_mainloop* loop) : loop_(loop) { pa_threaded_mainloop_lock(loop_); }
    ~Lock() { pa_threaded_mainloop_unlock(loop_); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    pa_threaded_mainloop* loop_;
};

void PulseContext::Listener::asked(pa_operation* question) {
    std::erase_if(questions_, [](pa_operation* old) {
        const bool over = pa_operation_get_state(old) != PA_OPERATION_RUNNING;
        if (over) {
            pa_operation_unref(old);
        }
        return over;
    });
    if (question) {
        questions_.push_back(question);
    }
}

void PulseContext::Listener::ask(pa_operation* question) {
    if (question) {
        ++unanswered_;
        asked(question);
    }
}

void PulseContext::Listener::answered() {
    if (--unanswered_ <= 0) {
        unanswered_ = 0;
        complete();
    }
}

std::optional<std::string> PulseContext::socketPath(const std::string& server) {
    auto address = server.empty() ? environmentVariable("PULSE_SERVER") : server;
    if (address.starts_with('{')) { // "{MACHINE}ADDRESS"
        address.erase(0, address.find('}') == std::string::npos ? 0 : address.find('}') + 1);
    }
    if (!address.empty()) {
        constexpr std::string_view local = "unix:";
        if (address.starts_with(local)) {
            address.erase(0, local.size());
        }
        const bool isPath = address.starts_with('/') && address.find(' ') == std::string::npos;
        return isPath ? std::optional(address) : std::nullopt;
    }
    if (const auto folder = environmentVariable("PULSE_RUNTIME_PATH"); !folder.empty()) {
        return folder + "/native";
    }
    if (const auto folder = environmentVariable("XDG_RUNTIME_DIR"); !folder.empty()) {
        return folder + "/pulse/native";
    }
    return std::nullopt;
}

PulseContext::PulseContext(std::string server)
    : server_(std::move(server)),
      socket_(socketPath(server_)),
      loop_(pa_threaded_mainloop_new()) {
    if (!loop_) {
        throw std::runtime_error("no loop for the sound server");
    }
    pa_threaded_mainloop_set_name(loop_, "velmoran-pulse");
    connect();
    if (pa_threaded_mainloop_start(loop_) < 0) {
        stopSeeking();
        pa_context_unref(context_);
        pa_threaded_mainloop_free(loop_);
        throw std::runtime_error("no thread for the sound server");
    }
}

PulseContext::~PulseContext() {
    {
        const Lock lock(loop_);
        listeners_.clear();
        stopSeeking();
        hidden_.stop();
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_set_subscribe_callback(context_, nullptr, nullptr);
        pa_context_disconnect(context_);
        pa_context_unref(context_);
    }
    pa_threaded_mainloop_stop(loop_);
    pa_threaded_mainloop_free(loop_);
}

void PulseContext::connect() {
    auto* api = pa_threaded_mainloop_get_api(loop_);
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "velmoran");
    context_ = pa_context_new_with_proplist(api, "Velmoran", properties);
    pa_proplist_free(properties);
    pa_context_set_state_callback(
        context_,
        [](pa_context*, void* self) { static_cast<PulseContext*>(self)->contextChanged(); }, this);
    // A failure is told by the state, but for the few that come before there is one.
    if (pa_context_connect(context_, server_.empty() ? nullptr : server_.c_str(),
                           PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 &&
        pa_context_get_state(context_) == PA_CONTEXT_UNCONNECTED) {
        seekLater(longestPatience);
    }
}

void PulseContext::contextChanged() {
    const auto state = pa_context_get_state(context_);
    if (state == PA_CONTEXT_READY) {
        ready_ = true;
        wasReady_ = false;
        patience_ = 0;
        stopSeeking();
        subscribe();
        for (auto* listener : listeners_) {
            tellOfServer(*listener);
        }
    } else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        contextLost();
    }
    pa_threaded_mainloop_signal(loop_, 0);
}

void PulseContext::contextLost() {
    const bool mayBeThere = !socket_ || ::access(socket_->c_str(), F_OK) == 0;
    const bool isNew = std::exchange(ready_, false);
    hidden_.stop();
    if (isNew) {
        for (auto* listener : listeners_) {
            listener->context_ = nullptr;
            listener->unanswered_ = 0;
            listener->disconnected();
        }
    }
    watchSocketFolder();
    if (isNew && mayBeThere) {
        // Any client may end another's connection.
        wasReady_ = true;
        seekLater(afterSocketCame);
        return;
    }
    if (std::exchange(wasReady_, false) || isNew) {
        for (auto* listener : listeners_) {
            listener->serverGone();
        }
    }
    if (mayBeThere) {
        patience_ = std::clamp(patience_ * 2, firstPatience, longestPatience);
        seekLater(patience_);
    }
}

void PulseContext::subscribe() {
    unsigned interest = PA_SUBSCRIPTION_MASK_NULL;
    for (const auto* listener : listeners_) {
        interest |= listener->interest_;
    }
    pa_context_set_subscribe_callback(
        context_,
        [](pa_context*, pa_subscription_event_type_t event, std::uint32_t index, void* data) {
            auto* self = static_cast<PulseContext*>(data);
            const unsigned facility = event & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
            const unsigned type = event & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
            for (auto* listener : self->listeners_) {
                if ((listener->interest_ & (1u << facility)) != 0) {
                    listener->changed(facility, type, index);
                }
            }
            if (type == PA_SUBSCRIPTION_EVENT_REMOVE) {
                self->hidden_.removed(self->loop_, facility, index);
            }
        },
        this);
    if (auto* question = pa_context_subscribe(
            context_, static_cast<pa_subscription_mask_t>(interest), nullptr, nullptr)) {
        pa_operation_unref(question);
    }
}

void PulseContext::tellOfServer(Listener& listener) {
    listener.context_ = context_;
    listener.connected();
}

void PulseContext::add(Listener& listener) {
    const Lock lock(loop_);
    listeners_.push_back(&listener);
    if (ready_) {
        subscribe();
        tellOfServer(listener);
    }
}

void PulseContext::remove(Listener& listener) {
    const Lock lock(loop_);
    std::erase(listeners_, &listener);
    for (auto* question : listener.questions_) {
        pa_operation_cancel(question);
        pa_operation_unref(question);
    }
    listener.questions_.clear();
    if (ready_) {
        subscribe();
    }
}

bool PulseContext::perform(const Question& question, Seconds bound) {
    struct Waiting {
        pa_threaded_mainloop* loop;
        bool success = false;
        bool over = false;

        void end() {
            over = true;
            pa_threaded_mainloop_signal(loop, 0);
        }
    };
    const Lock lock(loop_);
    if (!ready_) {
        return false;
    }
    Waiting waiting{.loop = loop_};
    auto* context = pa_context_ref(context_);
    auto* operation = question(
        context,
        [](pa_context*, int success, void* data) {
            auto* answer = static_cast<Waiting*>(data);
            answer->success = success != 0;
            answer->end();
        },
        &waiting);
    const auto alarm = after(bound, [&] { waiting.end(); });
    // An operation of a server that goes away is cancelled without an answer.
    while (operation && !waiting.over &&
           pa_operation_get_state(operation) == PA_OPERATION_RUNNING) {
        pa_threaded_mainloop_wait(loop_);
    }
    if (operation) {
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
    }
    pa_context_unref(context);
    return waiting.success;
}

void PulseContext::use(const std::function<void(pa_context*)>& action) {
    const Lock lock(loop_);
    action(ready_ ? context_ : nullptr);
}

Subscription PulseContext::after(Seconds delay, std::function<void()> action) {
    const auto owned = std::make_shared<std::function<void()>>(std::move(action));
    auto* alarm = pa_context_rttime_new(
        context_, pa_rtclock_now() + static_cast<pa_usec_t>(delay * 1e6),
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void* data) {
            const auto copy = *static_cast<std::function<void()>*>(data); // it may drop its handle
            copy();
        },
        owned.get());
    return Subscription([api = pa_threaded_mainloop_get_api(loop_), alarm, owned] {
        if (alarm) {
            api->time_free(alarm);
        }
    });
}

void PulseContext::seekLater(Seconds delay) {
    retry_ = after(delay, [this] {
        retry_.reset();
        pa_context_set_state_callback(context_, nullptr, nullptr);
        pa_context_unref(context_);
        connect();
    });
}

void PulseContext::stopSeeking() {
    retry_.reset();
    if (folderEvents_) {
        pa_threaded_mainloop_get_api(loop_)->io_free(std::exchange(folderEvents_, nullptr));
    }
    if (folderWatch_ >= 0) {
        ::close(std::exchange(folderWatch_, -1));
    }
}

// Watches the folder of the socket, or the nearest one on the way to it.
void PulseContext::watchSocketFolder() {
    if (!socket_) {
        return;
    }
    if (folderWatch_ < 0) {
        folderWatch_ = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
        if (folderWatch_ < 0) {
            return;
        }
        auto* api = pa_threaded_mainloop_get_api(loop_);
        folderEvents_ = api->io_new(
            api, folderWatch_, PA_IO_EVENT_INPUT,
            [](pa_mainloop_api*, pa_io_event*, int, pa_io_event_flags_t, void* self) {
                static_cast<PulseContext*>(self)->drainFolderWatch();
            },
            this);
    }
    auto folder = *socket_;
    do {
        folder.erase(std::max<std::size_t>(folder.find_last_of('/'), 1));
    } while (::inotify_add_watch(folderWatch_, folder.c_str(),
                                 IN_CREATE | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR) < 0 &&
             folder != "/");
}

void PulseContext::drainFolderWatch() {
    alignas(inotify_event) std::array<char, 4096> buffer{};
    while (::read(folderWatch_, buffer.data(), buffer.size()) > 0) {
    }
    watchSocketFolder();
    if (::access(socket_->c_str(), F_OK) == 0) {
        seekLater(afterSocketCame);
    }
}

} // namespace velmoran
