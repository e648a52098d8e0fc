// When keyboard and mouse were last used, and never which key: from the X server where it hears
// them, else from the kernel's input devices as far as they may be read. Owned by what is read
// while the user is away; listens on the loop only while a handle is kept.
#pragma once

#include "core/base/Scheduler.h"
#include "core/base/Subscription.h"
#include "system/AwayReadings.h"
#include "system/linux/kernel/EventLoop.h"

#include <memory>
#include <optional>
#include <string>

namespace velmoran {

class InputWatch {
public:
    struct Places {
        std::string display; ///< of the X server; empty without one
        /// Then an X server hears only what is typed into its own windows.
        bool isWayland = false;
        /// Whose devices are read where there is no X server.
        std::string seat = "seat0";

        /// By the environment: DISPLAY, WAYLAND_DISPLAY, XDG_SESSION_TYPE and XDG_SEAT.
        static Places ofThisSession();
    };

    /// `clock` is to count sleep too. The loop and the clock outlive this object and its handles.
    InputWatch(EventLoop& loop, Places places, const Clock& clock);
    InputWatch(EventLoop& loop, Places places);
    ~InputWatch();
    InputWatch(const InputWatch&) = delete;
    InputWatch& operator=(const InputWatch&) = delete;

    /// Returns when it listens, or after half a second of an X server that doesn't answer: it goes
    /// on trying. Every use before is forgotten. Main thread; the handle is dropped there too.
    [[nodiscard]] Subscription listen();
    /// Nothing while nobody listens, and until the first use. Which button was pressed isn't looked
    /// at: any of them, and the wheel, count for all three kinds. Any thread.
    std::optional<Seconds> sinceLast(InputEvent event) const;
    /// Whether both can be heard and told apart here. Asks the X server once, and the kernel's
    /// devices each time. Main thread.
    bool tellsInput();

private:
    struct Shared;
    struct Listening;

    std::shared_ptr<Shared> shared_;
    std::weak_ptr<Listening> listening_;
    std::optional<bool> xTells_; ///< once it was asked
};

} // namespace velmoran
