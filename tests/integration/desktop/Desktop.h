// A private X server with a window manager, on which the tests of this program run as an
// application of their own. Started by `main` before the first test; on the test's thread.
#pragma once

#include "app/model/ModelFixture.h"
#include "app/qtbase/QtEventLoop.h"
#include "support/FocusedWindow.h"
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <QCoreApplication>
#include <QRect>
#include <QSize>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace velmoran {

support::PrivateSession& desktopSession();

/// Lets the application go on until the condition holds.
[[nodiscard]] inline bool eventually(const std::function<bool()>& condition,
                                     support::Bound bound = support::patience) {
    return support::waitUntil(
        [&] {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return condition();
        },
        bound);
}

/// What a case could leave for the next one.
struct DesktopState {
    int windows = 0;   ///< that can be seen
    unsigned held = 0; ///< keys and buttons, and the locks
    unsigned desktop = 0;
    QSize screen;

    bool operator==(const DesktopState&) const = default;
};

void PrintTo(const DesktopState& state, std::ostream* stream);

/// The desktop that all cases share, and a person's hand on it. What a case has started ends with
/// it, and a case fails that leaves the desktop otherwise than it found it.
struct OnADesktop {
    OnADesktop() = default;
    ~OnADesktop();
    OnADesktop(const OnADesktop&) = delete;
    OnADesktop& operator=(const OnADesktop&) = delete;

    support::PrivateSession& session = desktopSession();
    support::XServer display{session.environment()["DISPLAY"]};

    [[nodiscard]] DesktopState state();
    const DesktopState stateBefore = state();

    /// Keys and mouse as a person has them.
    void hand(const std::vector<std::string>& does) {
        std::vector<std::string> command{"xdotool"};
        command.insert(command.end(), does.begin(), does.end());
        const auto finished = session.run(command);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }

    void moveTo(QPoint place) {
        hand({"mousemove", std::to_string(place.x()), std::to_string(place.y())});
    }

    [[nodiscard]] std::string focused() {
        return session.run({"xdotool", "getwindowfocus"}).output;
    }

    /// Another program's window that has the focus; gives its id.
    std::uint32_t startEditor(const std::string& geometry = "200x100+100+300") {
        const auto editor = support::startFocusedWindow(session, geometry);
        EXPECT_NE(editor, 0U) << session.logs();
        return editor;
    }

    [[nodiscard]] bool isViewable(std::uint32_t window);
    /// Where the server has it; empty if it hasn't.
    [[nodiscard]] QRect placeOf(std::uint32_t window);
    /// Asks the window manager for it, and waits until the window has its size.
    void makeFullScreen(std::uint32_t window);
};

struct DesktopFixture : ::testing::Test, OnADesktop {
    static void SetUpTestSuite() { desktopSession().need({"xdotool", "xev"}); }

    /// After this the application has been handed all that the server had for it so far.
    void drainEvents() {
        // An answer comes after all events that were before it.
        for (int i = 0; i < 3; ++i) {
            (void)session.run({"xdotool", "getmouselocation"});
            QCoreApplication::processEvents();
        }
    }
};

} // namespace velmoran
