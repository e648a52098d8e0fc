// Ctrl-C, a closed terminal and a polite kill as one callback on the event loop. One at a time per
// process; main thread.
#pragma once

#include <functional>
#include <memory>

namespace velmoran {

class EndSignals {
public:
    /// Needs the Qt application. `onEnd` is called for each signal from now on.
    explicit EndSignals(std::function<void()> onEnd);
    ~EndSignals();
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

private:
    struct Pipe;
    std::unique_ptr<Pipe> pipe_;
};

} // namespace velmoran
