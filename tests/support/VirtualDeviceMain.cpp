// virtual-device microphone|camera NAME DESCRIPTION: a microphone with a tone, or a camera with a
// moving picture, for the sound server, until it is ended. A program of its own, since whoever
// closes a recorder closes every process of that program. Muting the microphone gives silence.
#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <numbers>
#include <string_view>

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/video/format-utils.h>

namespace {

constexpr std::uint32_t rate = 48000;
constexpr std::uint32_t width = 320;
constexpr std::uint32_t height = 240;
constexpr std::uint32_t stride = 2 * width;
constexpr std::uint32_t picturesEachSecond = 30;

struct Device {
    pw_main_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    spa_source* timer = nullptr; ///< the camera's; runs while somebody looks
    double phase = 0;
    std::uint32_t pictures = 0;
};

Device& deviceOf(void* data) {
    return *static_cast<Device*>(data);
}

void quit(void* data, int) {
    pw_main_loop_quit(deviceOf(data).loop);
}

/// The server has gone, or refuses the stream.
void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char*) {
    auto& device = deviceOf(data);
    if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
        pw_main_loop_quit(device.loop);
    }
    if (device.timer != nullptr) {
        timespec interval{0, 1000000000L / picturesEachSecond};
        timespec none{0, 0};
        auto* wait = state == PW_STREAM_STATE_STREAMING ? &interval : &none;
        pw_loop_update_timer(pw_main_loop_get_loop(device.loop), device.timer, wait, wait, false);
    }
}

void sound(void* data) {
    auto& device = deviceOf(data);
    pw_buffer* buffer = pw_stream_dequeue_buffer(device.stream);
    if (buffer == nullptr) {
        return;
    }
    auto& part = buffer->buffer->datas[0];
    if (auto* samples = static_cast<float*>(part.data)) {
        std::uint32_t count = part.maxsize / sizeof(float);
        if (buffer->requested != 0) {
            count = std::min(count, static_cast<std::uint32_t>(buffer->requested));
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            samples[i] = static_cast<float>(0.47 * std::sin(2 * std::numbers::pi * device.phase));
            device.phase = std::fmod(device.phase + 440.0 / rate, 1.0);
        }
        part.chunk->offset = 0;
        part.chunk->stride = sizeof(float);
        part.chunk->size = count * sizeof(float);
    }
    pw_stream_queue_buffer(device.stream, buffer);
}

/// Grey stripes that wander to the left.
void picture(void* data, std::uint64_t) {
    auto& device = deviceOf(data);
    pw_buffer* buffer = pw_stream_dequeue_buffer(device.stream);
    if (buffer == nullptr) {
        return;
    }
    auto& part = buffer->buffer->datas[0];
    if (auto* bytes = static_cast<std::uint8_t*>(part.data);
        bytes != nullptr && part.maxsize >= stride * height) {
        for (std::uint32_t i = 0; i < width; ++i) {
            bytes[2 * i] = static_cast<std::uint8_t>(4 * (i + device.pictures));
            bytes[2 * i + 1] = 128; // no colour
        }
        for (std::uint32_t row = 1; row < height; ++row) {
            std::memcpy(bytes + std::size_t{row} * stride, bytes, stride);
        }
        ++device.pictures;
        part.chunk->offset = 0;
        part.chunk->stride = static_cast<std::int32_t>(stride);
        part.chunk->size = stride * height;
    }
    pw_stream_queue_buffer(device.stream, buffer);
}

/// A picture is one block; the server would else choose its own size.
void formatChanged(void* data, std::uint32_t id, const spa_pod* format) {
    auto& device = deviceOf(data);
    if (device.timer == nullptr || id != SPA_PARAM_Format || format == nullptr) {
        return;
    }
    std::array<std::uint8_t, 512> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const auto* wanted = static_cast<const spa_pod*>(spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
        SPA_PARAM_BUFFERS_size, SPA_POD_Int(stride * height), SPA_PARAM_BUFFERS_stride,
        SPA_POD_Int(stride)));
    pw_stream_update_params(device.stream, &wanted, 1);
}

const spa_pod* formatOf(bool camera, spa_pod_builder& builder) {
    if (camera) {
        spa_video_info_raw info{};
        info.format = SPA_VIDEO_FORMAT_YUY2;
        info.size = {width, height};
        info.framerate = {picturesEachSecond, 1};
        return spa_format_video_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
    }
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32;
    info.rate = rate;
    info.channels = 1;
    info.position[0] = SPA_AUDIO_CHANNEL_MONO;
    return spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
}

int run(bool camera, const char* name, const char* description) {
    Device device;
    device.loop = pw_main_loop_new(nullptr);
    auto* loop = pw_main_loop_get_loop(device.loop);
    pw_loop_add_signal(loop, SIGINT, quit, &device);
    pw_loop_add_signal(loop, SIGTERM, quit, &device);

    pw_stream_events events{};
    events.version = PW_VERSION_STREAM_EVENTS;
    events.state_changed = stateChanged;
    events.param_changed = formatChanged;
    auto* properties =
        pw_properties_new(PW_KEY_NODE_NAME, name, PW_KEY_NODE_DESCRIPTION, description, nullptr);
    auto flags = static_cast<int>(PW_STREAM_FLAG_MAP_BUFFERS);
    if (camera) {
        device.timer = pw_loop_add_timer(loop, picture, &device);
        pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Video/Source");
        pw_properties_set(properties, PW_KEY_MEDIA_ROLE, "Camera");
        flags |= PW_STREAM_FLAG_DRIVER;
    } else {
        events.process = sound;
        pw_properties_set(properties, PW_KEY_MEDIA_CLASS, "Audio/Source");
        // By this the session manager remembers its mute.
        pw_properties_set(properties, PW_KEY_MEDIA_ROLE, name);
        flags |= PW_STREAM_FLAG_RT_PROCESS;
    }
    device.stream = pw_stream_new_simple(loop, name, properties, &events, &device);

    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const auto* format = formatOf(camera, builder);
    const int connected = device.stream == nullptr
                              ? -1
                              : pw_stream_connect(device.stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
                                                  static_cast<pw_stream_flags>(flags), &format, 1);
    if (connected < 0) {
        std::fputs("virtual-device: the sound server can't be reached\n", stderr);
    } else {
        pw_main_loop_run(device.loop);
    }
    if (device.stream != nullptr) {
        pw_stream_destroy(device.stream);
    }
    pw_main_loop_destroy(device.loop);
    return connected < 0 ? 1 : 0;
}

} // namespace

int main(int count, char** arguments) {
    const std::string_view kind = count == 4 ? arguments[1] : "";
    if (kind != "microphone" && kind != "camera") {
        std::fputs("usage: virtual-device microphone|camera NAME DESCRIPTION\n", stderr);
        return 2;
    }
    pw_init(&count, &arguments);
    const int status = run(kind == "camera", arguments[2], arguments[3]);
    pw_deinit();
    return status;
}
