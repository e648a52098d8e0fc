#include "system/macos/SensorAttributionLog.h"

#include "system/macos/AttributionMessage.h"

#include <future>
#include <utility>

namespace velmoran {

struct SensorAttributionLog::State : std::enable_shared_from_this<State> {
    State(LogTool& givenTool, SerialQueue& givenQueue) : tool(givenTool), queue(givenQueue) {}

    void start(std::function<void(const AttributionTable&)> given) {
        if (process) {
            return;
        }
        receiver = std::move(given);
        if (const auto output = tool.run(historyArguments())) {
            if (const auto table = parseAttributionHistory(*output)) {
                receiver(*table);
            }
        }
        process = tool.stream(streamArguments(), [weak = weak_from_this()](std::string_view bytes) {
            const auto self = weak.lock();
            if (!self || bytes.empty()) {
                return;
            }
            self->queue.post([weak, chunk = std::string(bytes)] {
                if (const auto still = weak.lock()) {
                    still->receive(chunk);
                }
            });
        });
    }

    void receive(const std::string& chunk) {
        buffer.append(chunk);
        while (const auto line = buffer.popLine()) {
            const auto table = parseAttributionLine(*line);
            // A chunk that was on its way when the log was stopped tells nobody any more.
            if (table && receiver) {
                receiver(*table);
            }
        }
    }

    void stop() {
        receiver = nullptr;
        if (process) {
            process->terminate();
            process.reset();
        }
    }

    LogTool& tool;
    SerialQueue& queue;
    std::function<void(const AttributionTable&)> receiver;
    std::unique_ptr<LogTool::Stream> process; ///< stays set when the tool exits by itself
    LineBuffer buffer;
};

std::vector<std::string> SensorAttributionLog::historyArguments() {
    return {"show", "--last", "30m", "--style", "ndjson", "--predicate", std::string(predicate)};
}

std::vector<std::string> SensorAttributionLog::streamArguments() {
    return {"stream", "--style", "ndjson", "--predicate", std::string(predicate)};
}

SensorAttributionLog::SensorAttributionLog(LogTool& tool, SerialQueue& queue)
    : state_(std::make_shared<State>(tool, queue)),
      queue_(queue) {}

SensorAttributionLog::~SensorAttributionLog() {
    stop();
}

void SensorAttributionLog::start(std::function<void(const AttributionTable&)> receiver) {
    queue_.post([state = state_, given = std::move(receiver)] { state->start(given); });
}

void SensorAttributionLog::stop() {
    std::promise<void> done;
    queue_.post([&] {
        state_->stop();
        done.set_value();
    });
    done.get_future().wait();
}

} // namespace velmoran
