#include "app/shell/HangingBus.h"

#include "app/bus/BusEntry.h"

#include <QDBusConnection>

namespace velmoran {

namespace {
constexpr const char* addressVariable = "DBUS_SESSION_BUS_ADDRESS";
}

HangingBus::HangingBus(const std::string& address)
    : isHidden_(enterBus(address, patience).outcome == BusEntry::Outcome::silent),
      wasNamed_(qEnvironmentVariableIsSet(addressVariable)),
      before_(qgetenv(addressVariable)) {
    if (isHidden_) {
        qputenv(addressVariable, "disabled:");
    }
}

void HangingBus::giveBack() {
    if (!isHidden_) {
        return;
    }
    // Qt keeps what it finds now, for good.
    [[maybe_unused]] const auto none = QDBusConnection::sessionBus();
    if (wasNamed_) {
        qputenv(addressVariable, before_);
    } else {
        qunsetenv(addressVariable);
    }
}

} // namespace velmoran
