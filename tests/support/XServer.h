// A test's own look at an X server: who manages its windows, who keeps its tray, which windows
// stand on it. One connection, closed with the object; on the thread that made it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace velmoran::support {

class XServer {
public:
    /// As DISPLAY has it. A server that doesn't answer answers every question with no.
    explicit XServer(const std::string& display);
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    [[nodiscard]] bool hasWindowManager() const;
    [[nodiscard]] bool hasTray() const;
    /// Windows of this class (the second text of WM_CLASS, any case) that can be seen.
    [[nodiscard]] std::vector<std::uint32_t> visibleWindows(const std::string& windowClass) const;
    /// The tray's own window; 0 where there is none.
    [[nodiscard]] std::uint32_t trayOwner() const;
    /// Has the tray say in which colour icons show up on it: four colours of three parts each.
    void sayTrayColors(const std::vector<std::uint32_t>& parts) const;
    /// Windows that have put themselves into the tray.
    [[nodiscard]] std::vector<std::uint32_t> dockedIcons() const;
    /// What a window shows, as the server's raw pixels; empty if it can't be seen.
    [[nodiscard]] std::string picture(std::uint32_t window) const;
    /// How many points such a picture has beside each other; 0 without one.
    [[nodiscard]] std::size_t width(std::uint32_t window) const;
    /// Whether the window stands in another program's, as a tray icon does.
    [[nodiscard]] bool isEmbedded(std::uint32_t window) const;
    [[nodiscard]] xcb_connection_t* connection() const { return connection_; }
    [[nodiscard]] std::uint32_t root() const { return root_; }
    /// WM_CLASS as "instance class", lower case; empty if it has none.
    [[nodiscard]] std::string classOf(std::uint32_t window) const;

private:
    [[nodiscard]] std::uint32_t atom(const std::string& name) const;
    [[nodiscard]] std::uint32_t parentOf(std::uint32_t window) const;
    [[nodiscard]] std::vector<std::uint32_t> childrenOf(std::uint32_t window) const;
    [[nodiscard]] bool canBeSeen(std::uint32_t window) const;

    xcb_connection_t* connection_ = nullptr;
    std::uint32_t root_ = 0;
    int screen_ = 0;
};

} // namespace velmoran::support
