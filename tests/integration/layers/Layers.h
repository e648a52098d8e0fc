// A Wayland compositor with layers, on which the tests of this program run as an application of
// their own, and a person's hand on it. Started by `main` before the first test; on the test's
// thread.
#pragma once

#include "app/shell/surface/Overlays.h"
#include "support/PrivateSession.h"
#include "support/Waiting.h"

#include <QCoreApplication>
#include <QPoint>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {

support::PrivateSession& layersSession();
Overlays& layersOfTheDesktop();

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

/// The compositor that all cases share. What a case has started ends with it.
struct OnLayers {
    OnLayers() = default;
    ~OnLayers() { session.stop("editor"); }
    OnLayers(const OnLayers&) = delete;
    OnLayers& operator=(const OnLayers&) = delete;

    support::PrivateSession& session = layersSession();

    Overlays& overlays = layersOfTheDesktop();

    /// Each of these is over when the compositor has had it.
    void hand(const std::vector<std::string>& lines);
    void moveTo(QPoint place);
    void clickAt(QPoint place);
    void sway(const std::vector<std::string>& words);

    /// Another program's window, which has the keyboard.
    void startEditor(bool fullScreen = false);
    /// What was typed there, with a "!" for each click.
    std::string editorHas();
    /// The editor gets that key, and all before it.
    void expectTyped(const std::string& all, const std::string& key);
};

} // namespace velmoran
