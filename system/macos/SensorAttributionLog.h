// Who uses camera and microphone by the word of the system's own indicator, which writes a message
// to the system's log whenever the set of apps behind it changes. One child process that streams
// such messages, and before it one run over the last half hour for who is using a device now.
//
// All failures are silent: without the tool there is no report, and a line of another form is
// dropped. A stream that ends by itself is not started again. Owned by the monitor's machine; its
// state is touched on its queue alone, and the queue must outlive it.
#pragma once

#include "system/Machine.h"
#include "system/macos/LogTool.h"

#include <memory>
#include <string_view>

namespace velmoran {

class SensorAttributionLog final : public Attribution {
public:
    static constexpr const char* queueLabel = "velmoran.sensor-attribution-log";
    static constexpr const char* toolPath = "/usr/bin/log";
    /// Which messages are meant, in the tool's own language.
    static constexpr std::string_view predicate =
        "subsystem == \"com.apple.controlcenter\" AND category == \"sensor-indicators\" AND "
        "processImagePath == \"/System/Library/CoreServices/ControlCenter.app/Contents/MacOS/"
        "ControlCenter\" AND eventMessage BEGINSWITH \"Active activity attributions changed to\"";
    static std::vector<std::string> historyArguments();
    static std::vector<std::string> streamArguments();

    SensorAttributionLog(LogTool& tool, SerialQueue& queue);
    /// Ends as `stop` does.
    ~SensorAttributionLog() override;
    SensorAttributionLog(const SensorAttributionLog&) = delete;
    SensorAttributionLog& operator=(const SensorAttributionLog&) = delete;

    /// On the queue, which it blocks while the past is read; the receiver is called there. Does
    /// nothing from the first start to a stop, even if the stream has ended by itself.
    void start(std::function<void(const AttributionTable&)> receiver) override;
    /// Waits for the queue, and so for a run over the past too. Not on the queue itself.
    void stop() override;

private:
    struct State;

    std::shared_ptr<State> state_;
    SerialQueue& queue_;
};

} // namespace velmoran
