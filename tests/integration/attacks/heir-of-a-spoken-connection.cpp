// Before Velmoran comes, a recorder says over one connection to PulseAudio's server what it is,
// lets another program inherit that one, and says over a second one that it is that program.
#include "integration/attacks/HandedOn.h"

#include <memory>
#include <set>

#include <pulse/pulseaudio.h>

namespace velmoran::attacks {

namespace {

std::set<int> openDescriptors() {
    std::set<int> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        numbers.insert(std::stoi(entry.path().filename()));
    }
    return numbers;
}

bool isConnectionTo(int descriptor, const std::string& socket) {
    sockaddr_un address{};
    socklen_t size = sizeof address;
    return ::getpeername(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
           address.sun_family == AF_UNIX && socket == address.sun_path;
}

/// A client that says that it is that process.
class Speaker {
public:
    Speaker(pid_t claim, const std::string& socket) {
        const auto before = openDescriptors();
        pa_proplist* properties = pa_proplist_new();
        pa_proplist_sets(properties, PA_PROP_APPLICATION_PROCESS_ID, std::to_string(claim).c_str());
        context_ = pa_context_new_with_proplist(pa_mainloop_get_api(loop_), "spy", properties);
        pa_proplist_free(properties);
        pa_context_connect(context_, nullptr, PA_CONTEXT_NOFLAGS, nullptr);
        while (pa_context_get_state(context_) != PA_CONTEXT_READY) {
            if (!PA_CONTEXT_IS_GOOD(pa_context_get_state(context_))) {
                throw std::runtime_error("PulseAudio's server takes no client");
            }
            pa_mainloop_iterate(loop_, 1, nullptr);
        }
        for (const int number : openDescriptors()) {
            if (!before.contains(number) && isConnectionTo(number, socket)) {
                connection_ = number;
            }
        }
    }
    /// What is closed here goes on elsewhere, so libpulse isn't asked to end it.
    ~Speaker() = default;
    Speaker(const Speaker&) = delete;
    Speaker& operator=(const Speaker&) = delete;

    [[nodiscard]] int connection() const { return connection_; }

    void record() {
        const pa_sample_spec format{PA_SAMPLE_S16LE, 48000, 1};
        stream_ = pa_stream_new(context_, "recording", &format, nullptr);
        pa_stream_set_read_callback(
            stream_,
            [](pa_stream* stream, std::size_t, void*) {
                const void* data = nullptr;
                std::size_t size = 0;
                if (pa_stream_peek(stream, &data, &size) == 0 && size > 0) {
                    pa_stream_drop(stream);
                    ++heard;
                }
            },
            nullptr);
        pa_stream_connect_record(stream_, nullptr, nullptr, PA_STREAM_NOFLAGS);
    }
    bool goOnUntil(const std::function<bool()>& condition, Bound bound) {
        const auto end = std::chrono::steady_clock::now() + bound;
        while (!condition()) {
            if (std::chrono::steady_clock::now() >= end) {
                return false;
            }
            pa_mainloop_prepare(loop_, 20'000);
            pa_mainloop_poll(loop_);
            pa_mainloop_dispatch(loop_);
        }
        return true;
    }
    inline static int heard = 0;

private:
    pa_mainloop* loop_ = pa_mainloop_new();
    pa_context* context_ = nullptr;
    pa_stream* stream_ = nullptr;
    int connection_ = -1;
};

} // namespace

Verdict heirOfASpokenConnection(Scene& scene) {
    scene.startSound();
    // Both stay to the end of the process: libpulse isn't told that one's connection is closed.
    static const Speaker first(::getpid(), pulseSocket(scene));
    auto handed = std::make_unique<OpenConnection>(first.connection());
    const auto& heir = startHeir(scene, "heir");
    handed.reset();
    ::close(first.connection());
    static Speaker second(heir.pid(), pulseSocket(scene));
    scene.startWatch();
    second.record();
    const auto isTold = [&] {
        return scene.tellsStart("", 0ms);
    };
    if (!second.goOnUntil(isTold, within(5s))) {
        return fell("nothing was told of a recorder, which got sound " +
                    std::to_string(Speaker::heard) + " times");
    }
    if (scene.hasTold({"heir", "the microphone"})) {
        return fell("the recorder was told under the heir's name");
    }
    return held("the recorder was told, and not under the heir's name");
}

} // namespace velmoran::attacks
