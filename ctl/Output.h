// Standard output, line by line: what was written is on its way at once, and a reader that has gone
// is noticed. One per process; main thread.
#pragma once

#include <functional>
#include <string>

namespace velmoran {

class Output {
public:
    /// `onGone` is called once, when nobody reads any more; later lines are dropped.
    explicit Output(std::function<void()> onGone = {}) : onGone_(std::move(onGone)) {}

    /// Adds the end of the line.
    void write(const std::string& line);
    /// The exit status for it: 0 if all lines went out or their reader has gone, else 1, after
    /// saying on standard error what was in the way.
    int end() const;

private:
    std::function<void()> onGone_;
    bool open_ = true;
    int problem_ = 0; ///< the error number of the write that failed
};

} // namespace velmoran
