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
    /// A text as it is, which may wait for others or for `flush`. For what comes in masses.
    void collect(const std::string& text);
    void flush();
    /// False once something couldn't be written.
    bool isOpen() const { return open_; }
    /// What was in the way is that the reader has gone.
    bool readerHasGone() const;
    /// Whether every line has gone out; says on standard error what was in the way of the others.
    bool wroteAll() const;
    /// The same as the exit status of what tells and tells: 0 also if the reader has gone, who had
    /// enough then; else 1.
    int end() const;

private:
    void fail();

    std::function<void()> onGone_;
    bool open_ = true;
    int problem_ = 0; ///< the error number of the write that failed
};

} // namespace velmoran
