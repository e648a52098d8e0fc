// A program with a window on the X server of DISPLAY that takes being asked to close in its own
// way. usage: window-keeper LOG-FILE WAY [PROCESS-ID|PROGRAM]
//   close   ends
//   ask     opens a second window, as to ask about unsaved work, and stays
//   hide    takes its window away and goes on without it
//   deaf    has a window that can't be asked
//   claim   as close, but says that its window is that of the process PROCESS-ID
//   turn    as close, and at SIGUSR1 becomes PROGRAM, which sleeps
// LOG-FILE gets a line "ready PROCESS-ID" once the window manager has the window, "asked" for each
// request to close, and "signalled" for SIGTERM, by which it ends.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <xcb/xcb.h>

namespace {

int report = -1;
std::string program;

void note(const std::string& text) {
    if (write(report, text.data(), text.size()) < 0) {
        _exit(3);
    }
}

std::uint32_t atom(xcb_connection_t* server, const char* name) {
    auto* reply = xcb_intern_atom_reply(
        server, xcb_intern_atom(server, 0, static_cast<std::uint16_t>(std::strlen(name)), name),
        nullptr);
    const std::uint32_t number = reply ? reply->atom : 0;
    std::free(reply);
    return number;
}

void set(xcb_connection_t* server, std::uint32_t window, const char* name, std::uint32_t type,
         std::uint32_t value) {
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, atom(server, name), type, 32, 1,
                        &value);
}

std::uint32_t openWindow(xcb_connection_t* server, const std::string& way, std::uint32_t process) {
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(server)).data;
    const std::uint32_t window = xcb_generate_id(server);
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(server, XCB_COPY_FROM_PARENT, window, screen->root, 10, 10, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                      &events);
    std::string host(256, '\0');
    gethostname(host.data(), host.size() - 1);
    xcb_change_property(server, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_CLIENT_MACHINE,
                        XCB_ATOM_STRING, 8, static_cast<std::uint32_t>(std::strlen(host.c_str())),
                        host.c_str());
    set(server, window, "_NET_WM_PID", XCB_ATOM_CARDINAL, process);
    if (way != "deaf") {
        set(server, window, "WM_PROTOCOLS", XCB_ATOM_ATOM, atom(server, "WM_DELETE_WINDOW"));
    }
    xcb_map_window(server, window);
    xcb_flush(server);
    return window;
}

/// Whether the window manager has it in its list, which is the last that it does for a new window.
bool isListed(xcb_connection_t* server, std::uint32_t root, std::uint32_t list,
              std::uint32_t window) {
    auto* reply = xcb_get_property_reply(
        server, xcb_get_property(server, 0, root, list, XCB_ATOM_WINDOW, 0, 1024), nullptr);
    bool isThere = false;
    if (reply) {
        const auto* first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply));
        isThere = std::find(first, first + reply->value_len, window) != first + reply->value_len;
    }
    std::free(reply);
    return isThere;
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        return 2;
    }
    const std::string way = arguments[2];
    report = open(arguments[1], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    signal(SIGTERM, [](int) {
        note("signalled\n");
        _exit(0);
    });
    if (way == "turn") {
        program = count > 3 ? arguments[3] : "";
        signal(SIGUSR1, [](int) {
            execl(program.c_str(), program.c_str(), "60", nullptr);
            _exit(6);
        });
    }
    auto* server = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(server) != 0) {
        return 4;
    }
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
    const std::uint32_t changes = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(server, root, XCB_CW_EVENT_MASK, &changes);
    const auto list = atom(server, "_NET_CLIENT_LIST");
    const auto process = static_cast<std::uint32_t>(
        way == "claim" && count > 3 ? std::atoi(arguments[3]) : getpid());
    const auto window = openWindow(server, way, process);
    const auto remove = atom(server, "WM_DELETE_WINDOW");
    bool isReady = false;
    while (xcb_connection_has_error(server) == 0) {
        auto* event = xcb_poll_for_event(server);
        if (!event) {
            pollfd input{.fd = xcb_get_file_descriptor(server), .events = POLLIN, .revents = 0};
            if (poll(&input, 1, isReady ? -1 : 100) == 0) {
                // A window manager that is just starting may have lost the request.
                xcb_map_window(server, window);
                xcb_flush(server);
            }
            continue;
        }
        const auto kind = event->response_type & 0x7f;
        if (kind == XCB_PROPERTY_NOTIFY && !isReady && isListed(server, root, list, window)) {
            isReady = true;
            note("ready " + std::to_string(getpid()) + "\n");
        } else if (kind == XCB_CLIENT_MESSAGE &&
                   reinterpret_cast<xcb_client_message_event_t*>(event)->data.data32[0] == remove) {
            note("asked\n");
            if (way == "close" || way == "claim" || way == "turn") {
                return 0;
            }
            if (way == "ask") {
                openWindow(server, way, process);
            }
            if (way == "hide") {
                xcb_destroy_window(server, window);
                xcb_flush(server);
            }
        }
        std::free(event);
    }
    return 5;
}
