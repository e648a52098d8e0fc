#include "system/linux/pipewire/DefaultOutput.h"

#include "core/base/Json.h"

#include <string_view>
#include <utility>

#include "system/linux/pipewire/SpaDict.h"

#include <pipewire/extensions/metadata.h>

namespace velmoran {

namespace {

/// Under which the session manager keeps its choice, as {"name": "…"}.
constexpr const char* defaultOutputKey = "default.audio.sink";
// How long after a client has come the metadata is read again; and after a sink has come or gone.
constexpr Seconds untilReadAgain = 1.0;
constexpr Seconds untilReadForSinks = 0.1;

} // namespace

/// One time that the metadata is read, and kept told about from then on.
struct DefaultOutput::Reading {
    pw_proxy* proxy = nullptr;
    spa_hook proxyHook{};
    spa_hook objectHook{};

    Reading() = default;
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;
    ~Reading() {
        if (proxy != nullptr) {
            forget();
            pw_proxy_destroy(proxy);
        }
    }
    void forget() {
        spa_hook_remove(&proxyHook);
        spa_hook_remove(&objectHook);
    }
};

DefaultOutput::DefaultOutput(EventLoop& events, PipeWireListener& listener)
    : events_(events),
      listener_(listener) {}

DefaultOutput::~DefaultOutput() = default;

void DefaultOutput::forget() {
    nextReading_.reset();
    reading_.reset();
    id_.reset();
}

void DefaultOutput::begin(pw_core* core, pw_registry* registry, std::uint32_t id) {
    core_ = core;
    registry_ = registry;
    id_ = id;
    listener_.sessionManagerChanged(true);
    read();
}

void DefaultOutput::end(std::uint32_t id) {
    if (id_ == id) {
        forget();
        listener_.sessionManagerChanged(false);
        listener_.defaultOutputChanged({});
    }
}

void DefaultOutput::clientMayRead() {
    if (nextReading_) {
        isReadOnceMore_ = true;
    } else {
        readIn(untilReadAgain);
    }
}

void DefaultOutput::sinkMayMatter() {
    isReadOnceMore_ = true;
    readIn(untilReadForSinks);
}

void DefaultOutput::done(int sequence) {
    if (sequence == sequence_ && !isChosen_) {
        listener_.defaultOutputChanged({});
    }
}

void DefaultOutput::readIn(Seconds delay) {
    nextReading_ = events_.after(delay, [this] {
        nextReading_.reset();
        if (std::exchange(isReadOnceMore_, false)) {
            readIn(untilReadAgain);
        }
        read();
    });
}

void DefaultOutput::read() {
    if (!id_) {
        return;
    }
    static const pw_metadata_events metadataEvents{.version = PW_VERSION_METADATA_EVENTS,
                                                   .property = onProperty};
    // The server has forgotten this side's handle.
    static const pw_proxy_events proxyEvents{.version = PW_VERSION_PROXY_EVENTS,
                                             .destroy =
                                                 [](void* data) {
                                                     auto* reading = static_cast<Reading*>(data);
                                                     reading->forget();
                                                     reading->proxy = nullptr;
                                                 },
                                             .removed =
                                                 [](void* data) {
                                                     pw_proxy_destroy(
                                                         static_cast<Reading*>(data)->proxy);
                                                 }};
    isChosen_ = false;
    auto reading = std::make_unique<Reading>();
    reading->proxy = static_cast<pw_proxy*>(
        pw_registry_bind(registry_, *id_, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
    if (reading->proxy != nullptr) {
        pw_proxy_add_listener(reading->proxy, &reading->proxyHook, &proxyEvents, reading.get());
        pw_proxy_add_object_listener(reading->proxy, &reading->objectHook, &metadataEvents, this);
    }
    reading_ = std::move(reading);
    sequence_ = pw_core_sync(core_, PW_ID_CORE, 0);
}

// Without a key all is cleared; without a value that key is.
int DefaultOutput::onProperty(void* data, std::uint32_t subject, const char* key, const char*,
                              const char* value) {
    if (subject == PW_ID_CORE && (key == nullptr || key == std::string_view(defaultOutputKey))) {
        const auto choice = Json::parse(key == nullptr || value == nullptr ? "" : value, nullptr,
                                        /*allow_exceptions=*/false);
        const auto name = choice.is_object() ? choice.find("name") : choice.end();
        auto* self = static_cast<DefaultOutput*>(data);
        self->isChosen_ = true;
        self->listener_.defaultOutputChanged(
            name != choice.end() && name->is_string() ? name->get<std::string>() : "");
    }
    return 0;
}

} // namespace velmoran
