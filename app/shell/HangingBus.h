// Keeps Qt from a session bus that takes connections and doesn't answer: Qt asks it on the main
// thread, again and again, and waits for half a minute each time, in which nobody would be told of
// anything. Decided once, before the Qt application is made, since Qt asks for the bus once in a
// process. What Velmoran itself does over the bus never waits. Owned by `main`; main thread.
#pragma once

#include "core/base/Timestamp.h"

#include <QByteArray>
#include <string>

namespace velmoran {

class HangingBus {
public:
    /// Asks the bus at that address for a sign of life.
    explicit HangingBus(const std::string& address);

    /// Gives everybody but Qt the bus back, after the Qt application is made.
    void giveBack();
    /// Qt has no bus: no tray of the newer kind.
    bool isHidden() const { return isHidden_; }

    static constexpr Seconds patience = 1.0;

private:
    bool isHidden_ = false;
    bool wasNamed_ = false;
    QByteArray before_;
};

} // namespace velmoran
