// The system's log tool as a child process: the one contact with the platform of whoever reads the
// log. Standard output is read, standard error thrown away.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

class LogTool {
public:
    /// A run that goes on. Dropping it ends it as `terminate` does.
    class Stream {
    public:
        virtual ~Stream() = default;
        /// Asks the tool to end. Returns when no further call of the receiver can come.
        virtual void terminate() = 0;
    };
    using DataReceiver = std::function<void(std::string_view bytes)>;

    virtual ~LogTool() = default;
    /// Runs the tool to its end, however long that takes; what it wrote, or nothing if it couldn't
    /// be started. How it ended plays no part.
    virtual std::optional<std::string> run(const std::vector<std::string>& arguments) = 0;
    /// Starts the tool and returns; nothing if it couldn't be started. The receiver is called on a
    /// thread of the tool's own with what comes; no bytes mean that the stream has ended.
    virtual std::unique_ptr<Stream> stream(const std::vector<std::string>& arguments,
                                           DataReceiver receiver) = 0;
};

} // namespace velmoran
