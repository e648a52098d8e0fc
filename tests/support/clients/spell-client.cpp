// A PulseAudio recorder that hears in short spells: usage: spell-client cork|stream ON OFF
//     with "cork" it pauses its one stream after each spell, with "stream" it gives up the stream
//     and makes a new one. ON and OFF are milliseconds. When it has received 20 ms of sound in all
//     it prints "20 ms", and from then on a line for each second.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <pulse/pulseaudio.h>

namespace {

constexpr pa_sample_spec format{PA_SAMPLE_S16LE, 48000, 1};
constexpr std::size_t bytesEach = 48 * sizeof(short); ///< millisecond

struct Recorder {
    bool givesUpStreams = false;
    pa_usec_t on = 0;
    pa_usec_t off = 0;
    pa_mainloop_api* api = nullptr;
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    bool isHearing = false;
    std::size_t heard = 0;
    std::size_t tellAt = 20;

    void after(pa_usec_t delay) {
        timeval when{};
        pa_timeval_add(pa_gettimeofday(&when), delay);
        api->time_new(
            api, &when,
            [](pa_mainloop_api* loop, pa_time_event* event, const timeval*, void* user) {
                loop->time_free(event);
                static_cast<Recorder*>(user)->next();
            },
            this);
    }

    void next() {
        if (isHearing) {
            end();
        } else {
            begin();
        }
    }

    void begin() {
        if (stream == nullptr) {
            stream = pa_stream_new(context, "recording", &format, nullptr);
            pa_stream_set_read_callback(stream, onData, this);
            pa_stream_set_state_callback(stream, onState, this);
            pa_buffer_attr small{};
            small.maxlength = small.tlength = small.prebuf = small.minreq =
                static_cast<std::uint32_t>(-1);
            small.fragsize = 4 * bytesEach;
            pa_stream_connect_record(stream, nullptr, &small, PA_STREAM_ADJUST_LATENCY);
            return; // the spell begins when it is there
        }
        pa_operation_unref(pa_stream_cork(stream, 0, nullptr, nullptr));
        isHearing = true;
        after(on);
    }

    void end() {
        isHearing = false;
        if (givesUpStreams) {
            pa_stream_set_state_callback(stream, nullptr, nullptr);
            pa_stream_set_read_callback(stream, nullptr, nullptr);
            pa_stream_disconnect(stream);
            pa_stream_unref(stream);
            stream = nullptr;
        } else {
            pa_operation_unref(pa_stream_cork(stream, 1, nullptr, nullptr));
        }
        after(off);
    }

    static void onState(pa_stream* stream, void* user) {
        auto* self = static_cast<Recorder*>(user);
        if (pa_stream_get_state(stream) == PA_STREAM_READY) {
            self->isHearing = true;
            self->after(self->on);
        } else if (pa_stream_get_state(stream) == PA_STREAM_FAILED) {
            self->api->quit(self->api, 1);
        }
    }

    static void onData(pa_stream* stream, std::size_t, void* user) {
        auto* self = static_cast<Recorder*>(user);
        const void* data = nullptr;
        std::size_t size = 0;
        while (pa_stream_peek(stream, &data, &size) == 0 && size > 0) {
            if (data != nullptr) {
                self->heard += size;
            }
            pa_stream_drop(stream);
        }
        while (self->heard >= self->tellAt * bytesEach) {
            std::printf("%zu ms\n", self->tellAt);
            std::fflush(stdout);
            self->tellAt += self->tellAt < 1000 ? 1000 - self->tellAt : 1000;
        }
    }

    static void onContext(pa_context* context, void* user) {
        auto* self = static_cast<Recorder*>(user);
        const auto state = pa_context_get_state(context);
        if (state == PA_CONTEXT_READY) {
            self->begin();
        } else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
            self->api->quit(self->api, 1);
        }
    }
};

} // namespace

int main(int count, char** arguments) {
    if (count != 4) {
        return 2;
    }
    Recorder recorder;
    recorder.givesUpStreams = std::string_view(arguments[1]) == "stream";
    recorder.on = static_cast<pa_usec_t>(std::atof(arguments[2]) * PA_USEC_PER_MSEC);
    recorder.off = static_cast<pa_usec_t>(std::atof(arguments[3]) * PA_USEC_PER_MSEC);
    pa_mainloop* loop = pa_mainloop_new();
    recorder.api = pa_mainloop_get_api(loop);
    recorder.context = pa_context_new(recorder.api, "spell-client");
    pa_context_set_state_callback(recorder.context, Recorder::onContext, &recorder);
    pa_context_connect(recorder.context, nullptr, PA_CONTEXT_NOFLAGS, nullptr);
    int result = 0;
    pa_mainloop_run(loop, &result);
    return result;
}
