// A connection to an X server by which it tells of all input, whoever has the keyboard: XInput's
// raw events come while a screen locker holds it, too. Of each only the type is looked at. Closed
// with the object; one thread at a time.
#pragma once

#include "system/linux/away/InputTimes.h"

#include <bitset>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>

struct xcb_connection_t;

namespace velmoran {

/// By the number of an event of XInput; nothing for all other events.
std::optional<InputUse> inputUseOf(std::uint16_t xInputEvent);

class XInputConnection {
public:
    /// Blocks for as long as the server does. Null if it can't be reached, has no XInput 2.2, or
    /// stands on a Wayland desktop, which hands it nothing but what is meant for its own windows.
    static std::unique_ptr<XInputConnection> to(const std::string& display);

    ~XInputConnection();
    XInputConnection(const XInputConnection&) = delete;
    XInputConnection& operator=(const XInputConnection&) = delete;

    int descriptor() const;
    bool isLost() const;
    /// From now on the server tells of those uses alone.
    void ask(const std::bitset<inputUses>& uses);
    /// The next one that has been told; nothing when there is none left.
    std::optional<InputUse> next();

private:
    XInputConnection(xcb_connection_t* connection, std::uint32_t root, std::uint8_t extension)
        : connection_(connection),
          root_(root),
          extension_(extension) {}

    xcb_connection_t* connection_;
    std::uint32_t root_;
    std::uint8_t extension_; ///< its number in this server's events
};

/// A connection under way on a thread of its own, since nothing bounds how long a server takes for
/// its greeting. One that never answers keeps that thread, and nobody waits for it.
class XInputAttempt {
public:
    explicit XInputAttempt(const std::string& display);

    /// Whether it is over within that time.
    bool isOver(std::chrono::milliseconds bound = {}) const;
    /// Its outcome, once; null as from `to`. Only when it is over.
    std::unique_ptr<XInputConnection> take() { return outcome_.get(); }

private:
    std::future<std::unique_ptr<XInputConnection>> outcome_;
};

} // namespace velmoran
