// The log tool run for real, by the calls that every Unix has. Holds only the path of the tool;
// any thread. A stream has a thread of its own, which reads until the tool closes its output.
#pragma once

#include "system/macos/LogTool.h"

namespace velmoran {

class ChildLogTool final : public LogTool {
public:
    explicit ChildLogTool(std::string path) : path_(std::move(path)) {}

    std::optional<std::string> run(const std::vector<std::string>& arguments) override;
    std::unique_ptr<Stream> stream(const std::vector<std::string>& arguments,
                                   DataReceiver receiver) override;

private:
    std::string path_;
};

} // namespace velmoran
