// Whether the program starts by itself when its user logs in, as the desktop keeps it. Main thread.
#pragma once

namespace velmoran {

class LoginItem {
public:
    virtual ~LoginItem() = default;
    /// Looked up anew each time.
    virtual bool isOn() const = 0;
    /// False if the desktop didn't allow it; `isOn` says what holds then.
    virtual bool set(bool on) = 0;
};

} // namespace velmoran
