#include "system/macos/ChildLogTool.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <thread>
#include <utility>

extern char** environ; // NOLINT: POSIX leaves its declaration to the program

namespace velmoran {

namespace {

struct Pipe {
    int read = -1;
    int write = -1;
};

/// Both ends stay out of other children that the program may start meanwhile.
std::optional<Pipe> makePipe() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return std::nullopt;
    }
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return Pipe{.read = ends[0], .write = ends[1]};
}

ssize_t readSome(int file, std::string& chunk) {
    chunk.resize(16UL * 1024);
    ssize_t count = 0;
    do {
        count = ::read(file, chunk.data(), chunk.size());
    } while (count < 0 && errno == EINTR);
    chunk.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return count;
}

struct Child {
    pid_t pid = 0;
    int output = -1;
};

std::optional<Child> launch(const std::string& path, const std::vector<std::string>& arguments) {
    const auto pipe = makePipe();
    if (!pipe) {
        return std::nullopt;
    }
    std::vector<std::string> texts{path};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (auto& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, pipe->write, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // Threads of this program may block signals; the tool is to end when it is told to.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    pid_t pid = 0;
    const int error =
        ::posix_spawn(&pid, path.c_str(), &actions, &attributes, pointers.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipe->write);
    if (error != 0) {
        ::close(pipe->read);
        return std::nullopt;
    }
    return Child{.pid = pid, .output = pipe->read};
}

void collect(pid_t pid) {
    while (::waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
}

class ChildStream final : public LogTool::Stream {
public:
    ChildStream(Child child, Pipe wake, LogTool::DataReceiver receiver)
        : child_(child),
          wake_(wake),
          reader_([this, given = std::move(receiver)] { readUntilEnd(given); }) {}
    ~ChildStream() override { terminate(); }
    ChildStream(const ChildStream&) = delete;
    ChildStream& operator=(const ChildStream&) = delete;

    void terminate() override {
        if (!reader_.joinable()) {
            return;
        }
        ::kill(child_.pid, SIGTERM);
        // The reader ends now even if somebody else still holds the other end of the output.
        ::close(wake_.write);
        reader_.join();
        ::close(wake_.read);
        ::close(child_.output);
        collect(child_.pid);
    }

private:
    void readUntilEnd(const LogTool::DataReceiver& receiver) const {
        std::string chunk;
        while (true) {
            std::array<pollfd, 2> waited{
                pollfd{.fd = child_.output, .events = POLLIN, .revents = 0},
                pollfd{.fd = wake_.read, .events = POLLIN, .revents = 0}};
            if (::poll(waited.data(), waited.size(), -1) < 0 && errno == EINTR) {
                continue;
            }
            if (waited[1].revents != 0 || readSome(child_.output, chunk) <= 0) {
                break;
            }
            receiver(chunk);
        }
        if (chunk.empty()) {
            receiver({});
        }
    }

    Child child_;
    Pipe wake_;
    std::thread reader_;
};

} // namespace

std::optional<std::string> ChildLogTool::run(const std::vector<std::string>& arguments) {
    const auto child = launch(path_, arguments);
    if (!child) {
        return std::nullopt;
    }
    std::string output;
    std::string chunk;
    while (readSome(child->output, chunk) > 0) {
        output += chunk;
    }
    ::close(child->output);
    collect(child->pid);
    return output;
}

std::unique_ptr<LogTool::Stream> ChildLogTool::stream(const std::vector<std::string>& arguments,
                                                      DataReceiver receiver) {
    const auto wake = makePipe();
    if (!wake) {
        return nullptr;
    }
    const auto child = launch(path_, arguments);
    if (!child) {
        ::close(wake->read);
        ::close(wake->write);
        return nullptr;
    }
    return std::make_unique<ChildStream>(*child, *wake, std::move(receiver));
}

} // namespace velmoran
