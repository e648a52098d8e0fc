// The connection to the sound server by libpulse, which PulseAudio and PipeWire both speak. Owned
// by the machine, which outlives the listeners. It has a thread of its own that sleeps until the
// server speaks; a server that goes away is found again when it comes back. It never starts one.
#pragma once

#include "core/base/SharedEvent.h"
#include "core/base/Timestamp.h"
#include "system/linux/pulse/HiddenDevices.h"

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

class PulseContext {
public:
    /// Reads one side of the server. All calls come on the context's thread with its lock held.
    class Listener {
        template <auto>
        struct Callback;
        template <class Self, class Info, void (Self::*store)(const Info&)>
        struct Callback<store> {
            static void call(pa_context*, const Info* info, int end, void* data) {
                auto* self = static_cast<Self*>(data);
                end == 0 ? (self->*store)(*info) : self->answered();
            }
        };

    public:
        explicit Listener(pa_subscription_mask_t interest) : interest_(interest) {}
        virtual ~Listener() = default;
        Listener(const Listener&) = delete;
        Listener& operator=(const Listener&) = delete;

        virtual void connected() = 0;
        /// The connection is lost. The server may well go on, and `connected` follow at once.
        virtual void disconnected() = 0;
        /// It isn't so: what was read before holds no more.
        virtual void serverGone() {}
        /// An object of a facility has come, changed or gone: PA_SUBSCRIPTION_EVENT_….
        virtual void changed(unsigned facility, unsigned type, std::uint32_t index) = 0;
        /// What was told to be removed has really gone (`mayBeHidden`).
        virtual void removalsAreTrue() {}

    protected:
        /// Null while there is no server.
        pa_context* context() const { return context_; }
        /// Takes over a question that was asked, so that no answer comes when the listener is gone.
        void asked(pa_operation* question);

        /// The same for one that ends with `answered`; null if it couldn't be asked.
        void ask(pa_operation* question);
        void answered();
        bool isWaiting() const { return unanswered_ > 0; }
        /// All that was asked has been answered. What is known in between may be half of it.
        virtual void complete() {}

        /// The callback of a question with the listener as its userdata: `store`, a member function
        /// of the listener's, gets each object that is told of.
        template <auto store>
        static constexpr auto callbackTo = &Callback<store>::call;

    private:
        friend class PulseContext;

        pa_subscription_mask_t interest_;
        pa_context* context_ = nullptr;
        std::vector<pa_operation*> questions_;
        int unanswered_ = 0;
    };

    /// An empty server is the one that libpulse finds by itself. Throws std::runtime_error if the
    /// thread can't be started.
    explicit PulseContext(std::string server = {});
    /// Ends the thread; not on that thread.
    ~PulseContext();
    PulseContext(const PulseContext&) = delete;
    PulseContext& operator=(const PulseContext&) = delete;

    /// From now on it is told; at once that it is connected, if that is so. Any other thread.
    void add(Listener& listener);
    /// Returns when no further call can come. Any other thread.
    void remove(Listener& listener);

    using Question =
        std::function<pa_operation*(pa_context*, pa_context_success_cb_t, void* userdata)>;
    /// Asks, and waits for the answer. True if the server said that it was done; false if there is
    /// no server, it refused, or it said nothing until the bound. Any other thread.
    bool perform(const Question& question, Seconds bound);

    /// Calls it at once with the context's lock held, as a listener is called; the context is
    /// null while there is no server. Any other thread.
    void use(const std::function<void(pa_context*)>& action);
    /// Once, on the context's thread, with its lock held; not at all if the handle goes first.
    /// To be called and dropped with the lock held.
    [[nodiscard]] Subscription after(Seconds delay, std::function<void()> action);

    /// `taken` is called on the context's thread when something has had devices hidden from this
    /// connection, which then begins anew. Any thread.
    [[nodiscard]] Subscription onSightTaken(std::function<void()> taken) {
        return sightTaken_.subscribe(std::move(taken));
    }

    /// Whether devices that were told to be removed may be there all the same, hidden from this
    /// connection. If so it begins anew, and if not listeners hear of it, as soon as the server
    /// lets itself be asked. With the lock held.
    bool mayBeHidden() const { return hidden_.isLooking(); }

    /// Whether the connection was lost a moment ago and may be there again at once: otherwise
    /// listeners hear that the server has gone. With the lock held.
    bool mayComeBack() const { return wasReady_; }

    /// As it was given.
    const std::string& server() const { return server_; }
    /// Where the server's socket is to be found; nothing if that isn't a local path.
    static std::optional<std::string> socketPath(const std::string& server);

private:
    class Lock;

    void connect();
    void contextChanged();
    void contextLost();
    void subscribe();
    void tellOfServer(Listener& listener);
    void seekLater(Seconds delay);
    void stopSeeking();
    void watchSocketFolder();
    void drainFolderWatch();

    std::string server_;
    std::optional<std::string> socket_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool ready_ = false;
    bool wasReady_ = false; ///< a moment ago
    Seconds patience_ = 0;
    Subscription retry_;
    int folderWatch_ = -1; ///< inotify's descriptor while the server is away
    pa_io_event* folderEvents_ = nullptr;
    std::vector<Listener*> listeners_;
    SharedEvent<> sightTaken_;
    HiddenDevices hidden_{*this,
                          [this] {
                              sightTaken_();
                              pa_context_disconnect(context_);
                          },
                          [this] {
                              for (auto* listener : listeners_) {
                                  listener->removalsAreTrue();
                              }
                          }};
};

} // namespace velmoran
