// One program that a test has started: a server or a client. It belongs to whoever holds this
// object and ends with it. It has a process group of its own, is watched by its pidfd, and is sent
// SIGTERM by the kernel if the test dies first. It must be started from a thread that lives as
// long as the child may.
#pragma once

#include "support/Waiting.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace velmoran::support {

using Environment = std::map<std::string, std::string>;

/// How a child ended: its exit code, or the negative number of the signal that killed it.
using ExitStatus = int;

class ChildProcess {
public:
    struct Options {
        /// The whole environment of the child, nothing is added.
        Environment environment;
        /// Standard output goes to this file, or is thrown away when empty.
        std::filesystem::path output;
        /// The same for standard error; may be the same file.
        std::filesystem::path errors;
        /// Keep the terminal's input and outputs instead; the two files are ignored.
        bool inheritsTerminal = false;
    };

    /// `arguments[0]` is looked up in the PATH of the child's environment. A program that can't be
    /// executed shows as exit status 127.
    ChildProcess(const std::vector<std::string>& arguments, Options options);
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t pid() const { return pid_; }
    /// Readable once the child has ended; for a poll of the caller's own.
    [[nodiscard]] int pidFd() const { return pidFd_; }
    [[nodiscard]] bool running();
    /// Empty when it still runs after `bound`.
    std::optional<ExitStatus> wait(Bound bound = patience);
    /// To the whole group of the child; nothing if it has ended.
    void signal(int number);
    /// Asks it to end, insists after `bound`, and waits for its end.
    ExitStatus stop(Bound bound = Bound{3000});

    /// What it has written so far.
    [[nodiscard]] std::string output() const;
    [[nodiscard]] std::string errors() const;
    /// Which program couldn't be executed, and why; empty if it could.
    [[nodiscard]] const std::string& neverBegan() const { return neverBegan_; }
    /// Whether that was because there is no such program.
    [[nodiscard]] bool isMissing() const { return isMissing_; }
    /// The command, for people.
    [[nodiscard]] const std::string& title() const { return title_; }

private:
    void release();

    Options options_;
    std::string title_;
    std::string neverBegan_;
    bool isMissing_ = false;
    pid_t pid_ = -1;
    int pidFd_ = -1;
    std::optional<ExitStatus> status_;
};

/// The text of a file, empty if there is none.
[[nodiscard]] std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& text);

} // namespace velmoran::support
