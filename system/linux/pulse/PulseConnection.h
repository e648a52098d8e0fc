// The connection to the sound server by libpulse, which PulseAudio and PipeWire both speak. Owned
// by the machine, which outlives the listeners. It has a thread of its own that sleeps until the
// server speaks; a server that goes away is found again when it comes back. It never starts one.
#pragma once

#include "core/base/Timestamp.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop-api.h>
#include <pulse/operation.h>
#include <pulse/subscribe.h>
#include <pulse/thread-mainloop.h>

namespace velmoran {

class PulseConnection {
public:
    /// Reads one side of the server. All calls come on the connection's thread with its lock held.
    class Listener {
    public:
        explicit Listener(pa_subscription_mask_t interest) : interest_(interest) {}
        virtual ~Listener() = default;
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

        virtual void connected(pa_context* context) = 0;
        /// What was read before holds no more.
        virtual void disconnected() = 0;
        virtual void changed(pa_context* context, pa_subscription_event_type_t event,
                             std::uint32_t index) = 0;

    protected:
        /// Takes over a question that was asked, so that no answer comes when the listener is gone.
        void asked(pa_operation* question);

    private:
        friend class PulseConnection;
        pa_subscription_mask_t interest_;
        std::vector<pa_operation*> questions_;
    };

    /// An empty server is the one that libpulse finds by itself. Throws std::runtime_error if the
    /// thread can't be started.
    explicit PulseConnection(std::string server = {});
    /// Ends the thread; not on that thread.
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// From now on it is told; at once that it is connected, if that is so. Any other thread.
    void add(Listener& listener);
    /// Returns when no further call can come. Any other thread.
    void remove(Listener& listener);

    using Question =
        std::function<pa_operation*(pa_context*, pa_context_success_cb_t, void* userdata)>;
    /// Asks, and waits for the answer. True if the server said that it was done; false if there is
    /// no server, it refused, or it said nothing until the bound. Any other thread.
    bool perform(const Question& question, Seconds bound);

    /// Calls it at once with the connection's lock held, as a listener is called; the context is
    /// null while there is no server. Any other thread.
    void use(const std::function<void(pa_context*)>& action);
    /// Calls back once on the connection's thread. It is the caller's to free, rung or not. Both
    /// with the lock held.
    pa_time_event* alarm(Seconds delay, pa_time_event_cb_t callback, void* userdata);
    void freeAlarm(pa_time_event* alarm);

    /// Where the server's socket is to be found; nothing if that isn't a local path.
    static std::optional<std::string> socketPath(const std::string& server);

private:
    class Lock;

    void connect();
    void contextChanged();
    void subscribe();
    void seekLater(Seconds delay);
    void stopSeeking();
    void watchSocketFolder();
    void drainFolderWatch();

    std::string server_;
    std::optional<std::string> socket_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool ready_ = false;
    Seconds patience_ = 0;
    pa_time_event* retry_ = nullptr;
    int folderWatch_ = -1; ///< inotify's descriptor while the server is away
    pa_io_event* folderEvents_ = nullptr;
    std::vector<Listener*> listeners_;
};

} // namespace velmoran
