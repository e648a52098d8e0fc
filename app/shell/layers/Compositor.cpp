#include "app/shell/layers/Compositor.h"

#include <QGuiApplication>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <qpa/qplatformnativeinterface.h>
#include <utility>

namespace velmoran::layer {

namespace {

template <typename Type>
Type* qtsOwn(const char* name) {
    auto* native = QGuiApplication::platformNativeInterface();
    return native ? static_cast<Type*>(native->nativeResourceForIntegration(name)) : nullptr;
}

wl_output* outputOf(QScreen* screen) {
    auto* native = QGuiApplication::platformNativeInterface();
    return native ? static_cast<wl_output*>(native->nativeResourceForScreen("output", screen))
                  : nullptr;
}

struct Found {
    wl_proxy* shell = nullptr;
    wl_proxy* activation = nullptr;
};

wl_proxy* bound(wl_registry* registry, std::uint32_t name, const wl_interface& interface,
                std::uint32_t version) {
    return static_cast<wl_proxy*>(
        wl_registry_bind(registry, name, &interface,
                         std::min(version, static_cast<std::uint32_t>(interface.version))));
}

const wl_registry_listener registryListener{
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
           std::uint32_t version) {
            auto& found = *static_cast<Found*>(data);
            if (std::strcmp(interface, shellName) == 0 && !found.shell) {
                found.shell = bound(registry, name, shellInterface, version);
            } else if (std::strcmp(interface, activationName) == 0 && !found.activation) {
                found.activation = bound(registry, name, activationInterface, version);
            }
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {},
};

} // namespace

/// A layer surface over all that bars leave of a screen, on which nothing is ever drawn: it is
/// never seen, and the compositor says how large it would be, and says it again whenever that
/// changes.
class Compositor::Probe {
public:
    Probe(Compositor& compositor, QScreen* screen) : compositor_(compositor), screen_(screen) {
        auto* output = outputOf(screen);
        if (!output || !compositor_.compositor_) {
            return;
        }
        surface_ = wl_compositor_create_surface(compositor_.compositor_);
        static const SurfaceEvents events{
            .configure =
                [](void* data, wl_proxy* role, std::uint32_t serial, std::uint32_t width,
                   std::uint32_t height) {
                    acknowledge(role, serial);
                    static_cast<Probe*>(data)->sized(
                        QSize(static_cast<int>(width), static_cast<int>(height)));
                },
            .closed = [](void* data, wl_proxy*) { static_cast<Probe*>(data)->drop(); },
        };
        role_ = makeLayerSurface(compositor_.shell_, surface_, output, Layer::background,
                                 "velmoran-area", events, this);
        setSize(role_, 0, 0);
        setAnchor(role_, top | bottom | left | right);
        wl_surface_commit(surface_);
    }
    ~Probe() { drop(); }
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;

    const QScreen* screen() const { return screen_; }
    /// Empty until it is known.
    QSize size() const { return size_; }

private:
    void sized(QSize size) {
        // The compositor tells it after each change of any layer.
        if (std::exchange(size_, size) != size) {
            wl_surface_commit(surface_);
            compositor_.flush();
            compositor_.onAreasChanged();
        }
    }
    void drop() {
        if (role_) {
            destroySurface(std::exchange(role_, nullptr));
        }
        if (surface_) {
            wl_surface_destroy(std::exchange(surface_, nullptr));
        }
        size_ = {};
    }

    Compositor& compositor_;
    const QScreen* screen_;
    wl_surface* surface_ = nullptr;
    wl_proxy* role_ = nullptr;
    QSize size_;
};

Compositor::Compositor()
    : display_(qtsOwn<wl_display>("wl_display")),
      compositor_(qtsOwn<wl_compositor>("compositor")) {
    if (!display_) {
        return;
    }
    bind();
    if (!shell_) {
        return;
    }
    for (auto* screen : QGuiApplication::screens()) {
        watch(screen);
    }
    connect(qGuiApp, &QGuiApplication::screenAdded, this, &Compositor::watch);
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* screen) {
        std::erase_if(probes_, [&](const auto& probe) { return probe->screen() == screen; });
        onAreasChanged();
    });
    flush();
}

Compositor::~Compositor() {
    probes_.clear();
    if (token_) {
        destroyToken(token_);
    }
    for (auto* global : {activation_, shell_}) {
        if (global) {
            wl_proxy_destroy(global);
        }
    }
}

/// By a queue of its own, so that Qt's objects get nothing here.
void Compositor::bind() {
    auto* queue = wl_display_create_queue(display_);
    auto* ours = static_cast<wl_proxy*>(wl_proxy_create_wrapper(display_));
    wl_proxy_set_queue(ours, queue);
    auto* registry = wl_display_get_registry(reinterpret_cast<wl_display*>(ours));
    wl_proxy_wrapper_destroy(ours);
    Found found;
    wl_registry_add_listener(registry, &registryListener, &found);
    wl_display_roundtrip_queue(display_, queue);
    wl_registry_destroy(registry);
    shell_ = found.shell;
    activation_ = found.activation;
    for (auto* global : {shell_, activation_}) {
        if (global) {
            wl_proxy_set_queue(global, nullptr); // Qt's
        }
    }
    wl_event_queue_destroy(queue);
}

void Compositor::watch(QScreen* screen) {
    probes_.push_back(std::make_unique<Probe>(*this, screen));
    flush();
}

void Compositor::flush() const {
    wl_display_flush(display_);
}

std::vector<Compositor::Output> Compositor::outputs() const {
    std::vector<Output> result;
    const auto* main = QGuiApplication::primaryScreen();
    for (auto* screen : QGuiApplication::screens()) {
        auto* output = outputOf(screen);
        if (!output) {
            continue; // Qt's own, where there is no screen at all
        }
        Output one{.screen = screen, .output = output, .area = {}};
        one.area.frame = one.area.visible = screen->geometry();
        const auto probe = std::find_if(probes_.begin(), probes_.end(),
                                        [&](const auto& each) { return each->screen() == screen; });
        if (probe != probes_.end() && !(*probe)->size().isEmpty()) {
            one.area.visible.setSize((*probe)->size());
        }
        result.insert(screen == main ? result.begin() : result.end(), one);
    }
    return result;
}

Compositor::Output Compositor::outputAt(const QPoint& point) const {
    const auto all = outputs();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Output& each) {
        return each.area.frame.contains(point);
    });
    return found != all.end() ? *found : all.empty() ? Output() : all.front();
}

wl_surface* Compositor::surfaceOf(QWindow& window) {
    auto* native = QGuiApplication::platformNativeInterface();
    return native && window.handle()
               ? static_cast<wl_surface*>(native->nativeResourceForWindow("surface", &window))
               : nullptr;
}

void Compositor::setInput(wl_surface* surface, const QRegion& region) const {
    auto* ours = wl_compositor_create_region(compositor_);
    for (const auto& part : region) {
        wl_region_add(ours, part.x(), part.y(), part.width(), part.height());
    }
    wl_surface_set_input_region(surface, ours);
    wl_region_destroy(ours);
}

void Compositor::notePress(wl_surface* surface) {
    auto* seat = qtsOwn<wl_seat>("wl_seat");
    const auto serial = reinterpret_cast<std::uintptr_t>(qtsOwn<void>("serial"));
    // Older versions of Qt don't say which press it was, and nothing is given without.
    if (!activation_ || !surface || !seat || serial == 0 || token_) {
        return;
    }
    static const TokenEvents events{
        .done =
            [](void* data, wl_proxy* token, const char* text) {
                // Where Qt looks when a window is to come to the front.
                qputenv("XDG_ACTIVATION_TOKEN", text);
                static_cast<Compositor*>(data)->token_ = nullptr;
                destroyToken(token);
            },
    };
    token_ =
        askForToken(activation_, surface, seat, static_cast<std::uint32_t>(serial), events, this);
    flush();
}

} // namespace velmoran::layer
