#include "app/shell/layers/LayerProtocol.h"

#include <array>
#include <cstddef>

namespace velmoran::layer {

namespace {

extern const wl_interface surfaceInterface;
extern const wl_interface tokenInterface;

using Types = const wl_interface*;

template <std::size_t count>
using Messages = std::array<wl_message, count>;

std::array<Types, 5> none{};
std::array<Types, 5> ofLayerSurface{&surfaceInterface, &wl_surface_interface, &wl_output_interface,
                                    nullptr, nullptr};
std::array<Types, 1> ofToken{&tokenInterface};
std::array<Types, 2> ofActivate{nullptr, &wl_surface_interface};
std::array<Types, 2> ofSerial{nullptr, &wl_seat_interface};
std::array<Types, 1> ofSurface{&wl_surface_interface};

// In the protocol's own order, which gives each its number.
const Messages<2> shellRequests{{
    {"get_layer_surface", "no?ous", ofLayerSurface.data()},
    {"destroy", "3", none.data()},
}};
enum ShellRequest : std::uint32_t { getLayerSurface };

const Messages<9> surfaceRequests{{
    {"set_size", "uu", none.data()},
    {"set_anchor", "u", none.data()},
    {"set_exclusive_zone", "i", none.data()},
    {"set_margin", "iiii", none.data()},
    {"set_keyboard_interactivity", "u", none.data()},
    {"get_popup", "o", none.data()},
    {"ack_configure", "u", none.data()},
    {"destroy", "", none.data()},
    {"set_layer", "2u", none.data()},
}};
enum SurfaceRequest : std::uint32_t {
    requestSize,
    requestAnchor,
    requestExclusiveZone,
    requestMargin,
    requestKeyboard,
    requestPopup,
    requestAcknowledge,
    requestDestroy,
};
const Messages<2> surfaceEvents{{
    {"configure", "uuu", none.data()},
    {"closed", "", none.data()},
}};

const Messages<3> activationRequests{{
    {"destroy", "", none.data()},
    {"get_activation_token", "n", ofToken.data()},
    {"activate", "so", ofActivate.data()},
}};
enum ActivationRequest : std::uint32_t { destroyActivation, getToken };

const Messages<5> tokenRequests{{
    {"set_serial", "uo", ofSerial.data()},
    {"set_app_id", "s", none.data()},
    {"set_surface", "o", ofSurface.data()},
    {"commit", "", none.data()},
    {"destroy", "", none.data()},
}};
enum TokenRequest : std::uint32_t {
    tokenSerial,
    tokenApp,
    tokenSurface,
    tokenCommit,
    tokenDestroy
};
const Messages<1> tokenEvents{{{"done", "s", none.data()}}};

const wl_interface surfaceInterface{"zwlr_layer_surface_v1", newestShell,
                                    surfaceRequests.size(),  surfaceRequests.data(),
                                    surfaceEvents.size(),    surfaceEvents.data()};
const wl_interface tokenInterface{"xdg_activation_token_v1", 1,
                                  tokenRequests.size(),      tokenRequests.data(),
                                  tokenEvents.size(),        tokenEvents.data()};

template <typename... Arguments>
void request(wl_proxy* object, std::uint32_t which, Arguments... arguments) {
    wl_proxy_marshal_flags(object, which, nullptr, wl_proxy_get_version(object), 0, arguments...);
}

void requestEnd(wl_proxy* object, std::uint32_t which) {
    wl_proxy_marshal_flags(object, which, nullptr, wl_proxy_get_version(object),
                           WL_MARSHAL_FLAG_DESTROY);
}

/// As the library takes them: a table of functions, which it doesn't change.
template <typename Events>
void listen(wl_proxy* object, const Events& events, void* data) {
    wl_proxy_add_listener(object, reinterpret_cast<void (**)()>(const_cast<Events*>(&events)),
                          data);
}

} // namespace

const wl_interface shellInterface{
    shellName, newestShell, shellRequests.size(), shellRequests.data(), 0, nullptr};
const wl_interface activationInterface{
    activationName, 1, activationRequests.size(), activationRequests.data(), 0, nullptr};

wl_proxy* makeLayerSurface(wl_proxy* shell, wl_surface* surface, wl_output* output, Layer layer,
                           const char* name, const SurfaceEvents& events, void* data) {
    auto* made = wl_proxy_marshal_flags(shell, getLayerSurface, &surfaceInterface,
                                        wl_proxy_get_version(shell), 0, nullptr, surface, output,
                                        static_cast<std::uint32_t>(layer), name);
    if (made) {
        listen(made, events, data);
    }
    return made;
}

void setSize(wl_proxy* surface, int width, int height) {
    request(surface, requestSize, static_cast<std::uint32_t>(width),
            static_cast<std::uint32_t>(height));
}

void setAnchor(wl_proxy* surface, std::uint32_t edges) {
    request(surface, requestAnchor, edges);
}

void coverBars(wl_proxy* surface) {
    request(surface, requestExclusiveZone, -1);
}

void setMargin(wl_proxy* surface, int top, int left) {
    request(surface, requestMargin, top, 0, 0, left);
}

void setKeyboard(wl_proxy* surface, Keyboard keyboard) {
    request(surface, requestKeyboard, static_cast<std::uint32_t>(keyboard));
}

void acknowledge(wl_proxy* surface, std::uint32_t serial) {
    request(surface, requestAcknowledge, serial);
}

void destroySurface(wl_proxy* surface) {
    requestEnd(surface, requestDestroy);
}

wl_proxy* askForToken(wl_proxy* activation, wl_surface* pressed, wl_seat* seat,
                      std::uint32_t serial, const TokenEvents& events, void* data) {
    auto* token = wl_proxy_marshal_flags(activation, getToken, &tokenInterface,
                                         wl_proxy_get_version(activation), 0, nullptr);
    if (token) {
        listen(token, events, data);
        request(token, tokenSerial, serial, seat);
        request(token, tokenSurface, pressed);
        request(token, tokenCommit);
    }
    return token;
}

void destroyToken(wl_proxy* token) {
    requestEnd(token, tokenDestroy);
}

} // namespace velmoran::layer
