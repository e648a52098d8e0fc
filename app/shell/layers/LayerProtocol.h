// What is said to a Wayland compositor beyond the core protocol, written down by hand: of
// "zwlr_layer_shell_v1" (version 4) and "xdg_activation_v1" (version 1) what this program needs.
// Whoever makes an object destroys it. Main thread.
#pragma once

#include <cstdint>

#include <wayland-client.h>

namespace velmoran::layer {

inline constexpr const char* shellName = "zwlr_layer_shell_v1";
inline constexpr std::uint32_t newestShell = 4;
extern const wl_interface shellInterface;
inline constexpr const char* activationName = "xdg_activation_v1";
extern const wl_interface activationInterface;

enum Edge : std::uint32_t { top = 1, bottom = 2, left = 4, right = 8 };
/// Of two surfaces in one layer compositors don't agree on which is above.
enum class Layer : std::uint32_t { background = 0, top = 2, overlay = 3 };
/// `onDemand` since version 4: whoever is clicked has it.
enum class Keyboard : std::uint32_t { none = 0, exclusive = 1, onDemand = 2 };

/// What a compositor says of a layer surface.
struct SurfaceEvents {
    void (*configure)(void* data, wl_proxy* surface, std::uint32_t serial, std::uint32_t width,
                      std::uint32_t height);
    void (*closed)(void* data, wl_proxy* surface);
};

/// The role of that surface for its life. `events` outlives it.
wl_proxy* makeLayerSurface(wl_proxy* shell, wl_surface* surface, wl_output* output, Layer layer,
                           const char* name, const SurfaceEvents& events, void* data);
void setSize(wl_proxy* surface, int width, int height); ///< 0: as the compositor likes
void setAnchor(wl_proxy* surface, std::uint32_t edges);
/// Of all the output, bars too, in place of what they leave.
void coverBars(wl_proxy* surface);
void setMargin(wl_proxy* surface, int top, int left);
void setKeyboard(wl_proxy* surface, Keyboard keyboard);
void acknowledge(wl_proxy* surface, std::uint32_t serial);
void destroySurface(wl_proxy* surface);

/// What lets a window come to the front, once: it is asked for by whoever the person has just
/// pressed.
struct TokenEvents {
    void (*done)(void* data, wl_proxy* token, const char* text);
};
wl_proxy* askForToken(wl_proxy* activation, wl_surface* pressed, wl_seat* seat,
                      std::uint32_t serial, const TokenEvents& events, void* data);
void destroyToken(wl_proxy* token);

} // namespace velmoran::layer
