// A PulseAudio recorder that pauses on SIGUSR1 and goes on at SIGUSR2, keeping its stream: usage:
// pulse-client [corked|brief|from SOURCE]
//     with "corked" it begins with a pause, with "brief" it kills itself 10 ms after its stream has
//     begun, with "from" it records another source than the default one.
#include <csignal>
#include <string_view>

#include <pulse/pulseaudio.h>

namespace {

struct Recorder {
    bool isCorked = false;
    bool isBrief = false;
    const char* source = nullptr;
    pa_stream* stream = nullptr;
    pa_mainloop_api* api = nullptr;
};

void onData(pa_stream* stream, std::size_t, void*) {
    const void* data = nullptr;
    std::size_t size = 0;
    if (pa_stream_peek(stream, &data, &size) == 0 && size > 0) {
        pa_stream_drop(stream);
    }
}

void onStream(pa_stream* stream, void* user) {
    auto* recorder = static_cast<Recorder*>(user);
    if (pa_stream_get_state(stream) != PA_STREAM_READY || !recorder->isBrief) {
        return;
    }
    timeval end{};
    pa_timeval_add(pa_gettimeofday(&end), 10 * PA_USEC_PER_MSEC);
    recorder->api->time_new(
        recorder->api, &end,
        [](pa_mainloop_api*, pa_time_event*, const timeval*, void*) { std::raise(SIGKILL); },
        nullptr);
}

void onContext(pa_context* context, void* user) {
    auto* recorder = static_cast<Recorder*>(user);
    const auto state = pa_context_get_state(context);
    if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        recorder->api->quit(recorder->api, 1);
    }
    if (state != PA_CONTEXT_READY) {
        return;
    }
    const pa_sample_spec format{PA_SAMPLE_S16LE, 48000, 1};
    recorder->stream = pa_stream_new(context, "recording", &format, nullptr);
    pa_stream_set_read_callback(recorder->stream, onData, nullptr);
    pa_stream_set_state_callback(recorder->stream, onStream, recorder);
    pa_stream_connect_record(recorder->stream, recorder->source, nullptr,
                             recorder->isCorked ? PA_STREAM_START_CORKED : PA_STREAM_NOFLAGS);
}

void onSignal(pa_mainloop_api*, pa_signal_event*, int number, void* user) {
    auto* recorder = static_cast<Recorder*>(user);
    if (recorder->stream != nullptr) {
        auto* operation =
            pa_stream_cork(recorder->stream, number == SIGUSR1 ? 1 : 0, nullptr, nullptr);
        pa_operation_unref(operation);
    }
}

} // namespace

int main(int count, char** arguments) {
    Recorder recorder;
    recorder.isCorked = count > 1 && std::string_view(arguments[1]) == "corked";
    recorder.isBrief = count > 1 && std::string_view(arguments[1]) == "brief";
    if (count > 2 && std::string_view(arguments[1]) == "from") {
        recorder.source = arguments[2];
    }
    pa_mainloop* loop = pa_mainloop_new();
    recorder.api = pa_mainloop_get_api(loop);
    pa_signal_init(recorder.api);
    pa_signal_new(SIGUSR1, onSignal, &recorder);
    pa_signal_new(SIGUSR2, onSignal, &recorder);
    pa_context* context = pa_context_new(recorder.api, "pulse-client");
    pa_context_set_state_callback(context, onContext, &recorder);
    pa_context_connect(context, nullptr, PA_CONTEXT_NOFLAGS, nullptr);
    int result = 0;
    pa_mainloop_run(loop, &result);
    return result;
}
