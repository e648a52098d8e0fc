// A library that records from the microphone inside of whatever program loads it.
#include <cstdint>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

namespace {

pw_stream* stream = nullptr;

void onProcess(void*) {
    if (auto* buffer = pw_stream_dequeue_buffer(stream)) {
        pw_stream_queue_buffer(stream, buffer);
    }
}

// Runs when the library is loaded, before the program's own `main`; PipeWire's thread does the
// rest.
[[gnu::constructor]] void record() {
    pw_init(nullptr, nullptr);
    auto* loop = pw_thread_loop_new("inside", nullptr);
    static pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.process = onProcess;
    stream = pw_stream_new_simple(
        pw_thread_loop_get_loop(loop), "inside",
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", nullptr),
        &events, nullptr);
    std::uint8_t bytes[1024];
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, bytes, sizeof bytes);
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.channels = 1;
    info.rate = 48000;
    const auto* format = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
    pw_stream_connect(
        stream, PW_DIRECTION_INPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS),
        &format, 1);
    pw_thread_loop_start(loop);
}

} // namespace
