#include "system/linux/closing/AppWindows.h"

#include <unistd.h>
#include <xcb/res.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <future>
#include <map>
#include <optional>
#include <string_view>
#include <thread>

namespace velmoran {

namespace {

constexpr std::uint32_t mostWindows = 4096;

struct Free {
    void operator()(void* reply) const { std::free(reply); } // NOLINT: xcb's replies are malloc's
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

/// The questions put to one server.
class Server {
public:
    explicit Server(xcb_connection_t* connection) : connection_(connection) {}

    std::uint32_t atom(std::string_view name) const {
        const auto cookie =
            xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
        const Reply<xcb_intern_atom_reply_t> reply(
            xcb_intern_atom_reply(connection_, cookie, nullptr));
        return reply ? reply->atom : 0;
    }

    /// Nothing if it doesn't stand there in that form.
    std::optional<std::vector<std::uint32_t>> numbers(std::uint32_t window, std::uint32_t property,
                                                      std::uint32_t type) const {
        const auto reply = get(window, property, type);
        if (!reply || reply->type != type || reply->format != 32) {
            return std::nullopt;
        }
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
        return std::vector<std::uint32_t>(first, first + reply->value_len);
    }

    std::string text(std::uint32_t window, std::uint32_t property) const {
        const auto reply = get(window, property, XCB_GET_PROPERTY_TYPE_ANY);
        if (!reply || reply->format != 8) {
            return {};
        }
        return {static_cast<const char*>(xcb_get_property_value(reply.get())), reply->value_len};
    }

    bool has(std::uint32_t window, std::uint32_t property, std::uint32_t atomWanted) const {
        const auto atoms = numbers(window, property, XCB_ATOM_ATOM);
        return atoms && std::find(atoms->begin(), atoms->end(), atomWanted) != atoms->end();
    }

    std::vector<std::uint32_t> childrenOf(std::uint32_t window) const {
        const Reply<xcb_query_tree_reply_t> reply(
            xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr));
        if (!reply) {
            return {};
        }
        const auto* first = xcb_query_tree_children(reply.get());
        return {first, first + xcb_query_tree_children_length(reply.get())};
    }

    /// Whose connection made each window; nothing if the server can't tell (X-Resource below 1.2).
    std::optional<std::map<std::uint32_t, pid_t>>
    makers(const std::vector<std::uint32_t>& windows) const {
        const auto* extension = xcb_get_extension_data(connection_, &xcb_res_id);
        if (!extension || extension->present == 0) {
            return std::nullopt;
        }
        const Reply<xcb_res_query_version_reply_t> version(xcb_res_query_version_reply(
            connection_, xcb_res_query_version(connection_, 1, 2), nullptr));
        if (!version || version->server_major != 1 || version->server_minor < 2) {
            return std::nullopt;
        }
        std::vector<xcb_res_client_id_spec_t> asked;
        for (const auto window : windows) {
            asked.push_back({.client = window, .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
        }
        const Reply<xcb_res_query_client_ids_reply_t> reply(xcb_res_query_client_ids_reply(
            connection_,
            xcb_res_query_client_ids(connection_, static_cast<std::uint32_t>(asked.size()),
                                     asked.data()),
            nullptr));
        if (!reply) {
            return std::nullopt;
        }
        std::map<std::uint32_t, pid_t> byConnection;
        for (auto at = xcb_res_query_client_ids_ids_iterator(reply.get()); at.rem > 0;
             xcb_res_client_id_value_next(&at)) {
            // A client of another machine has no process id.
            if (at.data->spec.mask == XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID &&
                at.data->length >= sizeof(std::uint32_t)) {
                byConnection[at.data->spec.client] =
                    static_cast<pid_t>(*xcb_res_client_id_value_value(at.data));
            }
        }
        // The server answers with the part of the number that all of a connection's windows share.
        const std::uint32_t own = xcb_get_setup(connection_)->resource_id_mask;
        std::map<std::uint32_t, pid_t> all;
        for (const auto window : windows) {
            if (const auto maker = byConnection.find(window & ~own); maker != byConnection.end()) {
                all.emplace(window, maker->second);
            }
        }
        return all;
    }

    /// What the windows themselves say, as far as they are of this machine.
    std::map<std::uint32_t, pid_t> claims(const std::vector<std::uint32_t>& windows) const {
        std::array<char, 256> host{};
        ::gethostname(host.data(), host.size() - 1);
        const auto process = atom("_NET_WM_PID");
        std::map<std::uint32_t, pid_t> all;
        for (const auto window : windows) {
            const auto claimed = numbers(window, process, XCB_ATOM_CARDINAL);
            if (claimed && claimed->size() == 1 &&
                text(window, XCB_ATOM_WM_CLIENT_MACHINE) == host.data()) {
                all.emplace(window, static_cast<pid_t>(claimed->front()));
            }
        }
        return all;
    }

private:
    Reply<xcb_get_property_reply_t> get(std::uint32_t window, std::uint32_t property,
                                        std::uint32_t type) const {
        const auto cookie =
            xcb_get_property(connection_, 0, window, property, type, 0, mostWindows);
        return Reply<xcb_get_property_reply_t>(
            xcb_get_property_reply(connection_, cookie, nullptr));
    }

    xcb_connection_t* connection_;
};

void send(xcb_connection_t* connection, std::uint32_t receiver, std::uint32_t mask,
          std::uint32_t window, std::uint32_t type, std::uint32_t first, std::uint32_t second) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    event.data.data32[0] = first;
    event.data.data32[1] = second;
    std::array<char, 32> bytes{};
    static_assert(sizeof event == bytes.size());
    std::copy_n(reinterpret_cast<const char*>(&event), sizeof event, bytes.begin());
    xcb_send_event(connection, 0, receiver, mask, bytes.data());
}

} // namespace

std::unique_ptr<AppWindows> AppWindows::of(const std::vector<pid_t>& processes,
                                           const std::string& display,
                                           std::chrono::milliseconds patience) {
    if (display.empty() || processes.empty()) {
        return nullptr;
    }
    // On a thread of its own, since nothing bounds how long a server takes for its greeting. One
    // that never answers keeps that thread, and nobody waits for it.
    auto promise = std::make_shared<std::promise<std::unique_ptr<AppWindows>>>();
    auto answer = promise->get_future();
    std::thread([promise, processes, display] {
        promise->set_value(std::unique_ptr<AppWindows>(new AppWindows(processes, display)));
    }).detach();
    if (answer.wait_for(patience) != std::future_status::ready) {
        return nullptr;
    }
    auto windows = answer.get();
    return windows->windows_.empty() ? nullptr : std::move(windows);
}

AppWindows::AppWindows(const std::vector<pid_t>& processes, const std::string& display)
    : connection_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(connection_) != 0) {
        return;
    }
    const Server server(connection_);
    closeWindow_ = server.atom("_NET_CLOSE_WINDOW");
    protocols_ = server.atom("WM_PROTOCOLS");
    deleteWindow_ = server.atom("WM_DELETE_WINDOW");
    const auto clients = server.atom("_NET_CLIENT_LIST");
    const auto supported = server.atom("_NET_SUPPORTED");
    const auto check = server.atom("_NET_SUPPORTING_WM_CHECK");

    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection_)); screen.rem > 0;
         xcb_screen_next(&screen)) {
        const auto root = screen.data->root;
        // What a window manager left behind when it went isn't believed: its own window tells.
        const auto manager = server.numbers(root, check, XCB_ATOM_WINDOW);
        const bool isManaged = manager && manager->size() == 1 &&
                               server.numbers(manager->front(), check, XCB_ATOM_WINDOW) == manager;
        auto listed = isManaged ? server.numbers(root, clients, XCB_ATOM_WINDOW) : std::nullopt;
        const auto all = listed ? std::move(*listed) : server.childrenOf(root);
        if (all.empty()) {
            continue;
        }
        auto makers = server.makers(all);
        const auto owners = makers ? std::move(*makers) : server.claims(all);
        for (auto at = all.rbegin(); at != all.rend(); ++at) {
            const auto owner = owners.find(*at);
            if (owner != owners.end() &&
                std::find(processes.begin(), processes.end(), owner->second) != processes.end() &&
                server.has(*at, protocols_, deleteWindow_)) {
                windows_.push_back(
                    {.id = *at,
                     .root = root,
                     .isManaged = isManaged && server.has(root, supported, closeWindow_)});
            }
        }
    }
}

AppWindows::~AppWindows() {
    xcb_disconnect(connection_);
}

void AppWindows::askToClose() {
    constexpr std::uint32_t byTheUser = 2; // the source indication of a pager
    for (const auto& window : windows_) {
        if (window.isManaged) {
            send(connection_, window.root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 window.id, closeWindow_, XCB_CURRENT_TIME, byTheUser);
        } else {
            send(connection_, window.id, XCB_EVENT_MASK_NO_EVENT, window.id, protocols_,
                 deleteWindow_, XCB_CURRENT_TIME);
        }
    }
    xcb_flush(connection_);
}

} // namespace velmoran
