// A recorder that does what it is told, pauses on SIGUSR1 and goes on at SIGUSR2, and says "heard"
// when it has got 20 milliseconds in all: usage:
// graph-client [OPTION]...
//   --fd N          speak over this open connection instead of an own one
//   --filter NAME   have no class and no wishes, like a JACK client; else ask for the microphone
//   --class CLASS   what it says it is
//   --prop KEY=VAL  a property of the node, such as a false process id
//   --hide          forbid other processes to look at it
//   --claim PATH    write that over its own name and arguments
//   --camera        ask for a camera's pictures instead of the microphone
//   --reconnect     come back by itself when the server has gone
//   --term WAY      what to do when asked to end: "ignore" it, or "fork", end and leave a child
//   that
//                   ignores it and holds the connection; else end
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>

#include <sys/prctl.h>

#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/video/format-utils.h>

namespace {

struct Options {
    int fd = -1;
    std::string filter;
    std::string mediaClass;
    std::vector<std::pair<std::string, std::string>> properties;
    bool isCamera = false;
    bool reconnects = false;
    bool forksOnTerm = false;
};

struct Client {
    pw_main_loop* loop = nullptr;
    bool isLost = false;
    pw_stream* stream = nullptr; ///< or the filter
    pw_filter* filter = nullptr;
};

void setActive(const Client& client, bool isActive) {
    if (client.stream != nullptr) {
        pw_stream_set_active(client.stream, isActive);
    } else {
        pw_filter_set_active(client.filter, isActive);
    }
}

void onPause(void* data, int) {
    setActive(*static_cast<Client*>(data), false);
}

void onGoOn(void* data, int) {
    setActive(*static_cast<Client*>(data), true);
}

void onCoreError(void* data, std::uint32_t id, int, int result, const char*) {
    auto* client = static_cast<Client*>(data);
    if (id == PW_ID_CORE && result == -EPIPE) {
        client->isLost = true;
        pw_main_loop_quit(client->loop);
    }
}

/// Only on the loop's thread.
void count(const spa_data& sound) {
    constexpr std::size_t enough = 48 * 20 * sizeof(float);
    static std::size_t got = 0;
    if (sound.chunk != nullptr && got < enough) {
        got += sound.chunk->size;
        if (got >= enough) {
            std::puts("heard");
            std::fflush(stdout);
        }
    }
}

void onProcess(void* data) {
    auto* stream = *static_cast<pw_stream**>(data);
    if (auto* buffer = pw_stream_dequeue_buffer(stream)) {
        if (buffer->buffer->n_datas > 0) {
            count(buffer->buffer->datas[0]);
        }
        pw_stream_queue_buffer(stream, buffer);
    }
}

void onFilterProcess(void*, spa_io_position*) {}

pw_properties* properties(const Options& options) {
    auto* props = pw_properties_new(PW_KEY_NODE_NAME, "graph-client", nullptr);
    if (!options.mediaClass.empty()) {
        pw_properties_set(props, PW_KEY_MEDIA_CLASS, options.mediaClass.c_str());
    }
    for (const auto& [key, value] : options.properties) {
        pw_properties_set(props, key.c_str(), value.c_str());
    }
    return props;
}

pw_core* connect(pw_context* context, const Options& options) {
    auto* props = pw_properties_new(nullptr, nullptr);
    for (const auto& [key, value] : options.properties) {
        pw_properties_set(props, key.c_str(), value.c_str());
    }
    // Closed to whatever this may start, as all clients of the library keep theirs.
    return options.fd >= 0
               ? pw_context_connect_fd(context, fcntl(options.fd, F_DUPFD_CLOEXEC, 3), props, 0)
               : pw_context_connect(context, props, 0);
}

/// Runs as any other work of the loop, so that forking is safe.
void onTerm(void*, int) {
    if (fork() == 0) {
        signal(SIGTERM, SIG_IGN);
        alarm(120); // a test that fails leaves it behind
        for (;;) {
            pause();
        }
    }
    _exit(0);
}

const spa_pod* anyPicture(spa_pod_builder& builder) {
    return static_cast<const spa_pod*>(
        spa_pod_builder_add_object(&builder, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat,
                                   SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
                                   SPA_FORMAT_mediaSubtype, SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw)));
}

// Until the server goes. False if there was none.
bool run(const Options& options) {
    Client client;
    client.loop = pw_main_loop_new(nullptr);
    pw_loop_add_signal(pw_main_loop_get_loop(client.loop), SIGUSR1, onPause, &client);
    pw_loop_add_signal(pw_main_loop_get_loop(client.loop), SIGUSR2, onGoOn, &client);
    if (options.forksOnTerm) {
        pw_loop_add_signal(pw_main_loop_get_loop(client.loop), SIGTERM, onTerm, nullptr);
    }
    auto* context = pw_context_new(pw_main_loop_get_loop(client.loop), nullptr, 0);
    auto* core = connect(context, options);
    const bool isConnected = core != nullptr;
    if (isConnected) {
        pw_core_events coreEvents{};
        coreEvents.version = PW_VERSION_CORE_EVENTS;
        coreEvents.error = onCoreError;
        spa_hook coreHook{};
        pw_core_add_listener(core, &coreHook, &coreEvents, &client);

        auto*& stream = client.stream;
        auto*& filter = client.filter;
        spa_hook hook{};
        pw_stream_events streamEvents{};
        streamEvents.version = PW_VERSION_STREAM_EVENTS;
        streamEvents.process = onProcess;
        pw_filter_events filterEvents{};
        filterEvents.version = PW_VERSION_FILTER_EVENTS;
        filterEvents.process = onFilterProcess;
        if (options.filter.empty()) {
            auto* props = properties(options);
            pw_properties_set(props, PW_KEY_MEDIA_TYPE, options.isCamera ? "Video" : "Audio");
            pw_properties_set(props, PW_KEY_MEDIA_CATEGORY, "Capture");
            stream = pw_stream_new(core, "recorder", props);
            pw_stream_add_listener(stream, &hook, &streamEvents, &stream);
            std::uint8_t bytes[1024];
            spa_pod_builder builder{};
            spa_pod_builder_init(&builder, bytes, sizeof bytes);
            spa_audio_info_raw info{};
            info.format = SPA_AUDIO_FORMAT_F32;
            info.channels = 1;
            info.rate = 48000;
            const spa_pod* format =
                options.isCamera
                    ? anyPicture(builder)
                    : spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
            pw_stream_connect(stream, PW_DIRECTION_INPUT, PW_ID_ANY,
                              static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT |
                                                           PW_STREAM_FLAG_MAP_BUFFERS),
                              &format, 1);
        } else {
            auto* props = properties(options);
            pw_properties_set(props, PW_KEY_NODE_NAME, options.filter.c_str());
            filter = pw_filter_new(core, options.filter.c_str(), props);
            pw_filter_add_listener(filter, &hook, &filterEvents, nullptr);
            for (const auto direction : {PW_DIRECTION_INPUT, PW_DIRECTION_OUTPUT}) {
                pw_filter_add_port(filter, direction, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 0,
                                   pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio",
                                                     PW_KEY_PORT_NAME,
                                                     direction == PW_DIRECTION_INPUT ? "in" : "out",
                                                     nullptr),
                                   nullptr, 0);
            }
            pw_filter_connect(filter, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0);
        }
        pw_main_loop_run(client.loop);
        if (stream != nullptr) {
            pw_stream_destroy(stream);
        }
        if (filter != nullptr) {
            pw_filter_destroy(filter);
        }
        spa_hook_remove(&coreHook);
        pw_core_disconnect(core);
    }
    pw_context_destroy(context);
    pw_main_loop_destroy(client.loop);
    return isConnected;
}

/// The arguments lie one behind the other, and hold the path already.
void claim(int count, char** arguments, const std::string& path) {
    char* last = arguments[count - 1];
    const auto size = static_cast<std::size_t>(last + std::strlen(last) - arguments[0]);
    std::memset(arguments[0], 0, size);
    std::memcpy(arguments[0], path.data(), path.size());
}

} // namespace

int main(int count, char** arguments) {
    Options options;
    std::string claimed;
    for (int index = 1; index < count; ++index) {
        const std::string_view option = arguments[index];
        const std::string value = index + 1 < count ? arguments[index + 1] : "";
        if (option == "--hide") {
            prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
            continue;
        }
        if (option == "--camera") {
            options.isCamera = true;
            continue;
        }
        if (option == "--reconnect") {
            options.reconnects = true;
            continue;
        }
        ++index;
        if (option == "--fd") {
            options.fd = std::atoi(value.c_str());
        } else if (option == "--term" && value == "ignore") {
            signal(SIGTERM, SIG_IGN);
        } else if (option == "--term" && value == "fork") {
            // In all threads, so that the loop hears it.
            sigset_t term;
            sigemptyset(&term);
            sigaddset(&term, SIGTERM);
            sigprocmask(SIG_BLOCK, &term, nullptr);
            options.forksOnTerm = true;
        } else if (option == "--claim") {
            claimed = value;
        } else if (option == "--filter") {
            options.filter = value;
        } else if (option == "--class") {
            options.mediaClass = value;
        } else if (option == "--prop") {
            const auto equals = value.find('=');
            options.properties.emplace_back(value.substr(0, equals), value.substr(equals + 1));
        } else {
            std::fprintf(stderr, "graph-client: unknown option %s\n", arguments[index - 1]);
            return 2;
        }
    }
    if (!claimed.empty()) {
        claim(count, arguments, claimed);
    }
    // In all threads, so that the loop hears them.
    sigset_t pauses;
    sigemptyset(&pauses);
    sigaddset(&pauses, SIGUSR1);
    sigaddset(&pauses, SIGUSR2);
    sigprocmask(SIG_BLOCK, &pauses, nullptr);
    pw_init(nullptr, nullptr);
    do {
        if (!run(options)) {
            usleep(20'000);
        }
    } while (options.reconnects);
    return 0;
}
