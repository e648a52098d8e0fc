#include "support/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmoran::support {

namespace {

// Found here and not by execvpe in the child: between fork and exec only a few calls are safe.
std::string findProgram(const std::string& name, const Environment& environment) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const auto path = environment.find("PATH");
    std::istringstream folders(path == environment.end() ? "/usr/bin:/bin" : path->second);
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::string candidate = folder + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return name;
}

int openForWriting(const std::filesystem::path& path) {
    if (path.empty()) {
        return open("/dev/null", O_WRONLY | O_CLOEXEC);
    }
    return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& arguments, Options options)
    : options_(std::move(options)) {
    for (const auto& argument : arguments) {
        title_ += (title_.empty() ? "" : " ") + argument;
    }
    const std::string program = findProgram(arguments.at(0), options_.environment);
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> variables;
    for (const auto& [key, value] : options_.environment) {
        variables.push_back(key + "=" + value);
    }
    const auto argv = pointers(argumentTexts);
    const auto envp = pointers(variables);
    const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int output = openForWriting(options_.output);
    const int errors = openForWriting(options_.errors);
    const pid_t parent = getpid();
    // Closed by a program that begins; otherwise it brings the reason.
    std::array<int, 2> begun{-1, -1};
    if (pipe2(begun.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }

    pid_ = fork();
    if (pid_ == 0) {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() != parent) {
            _exit(126);
        }
        if (!options_.inheritsTerminal) {
            dup2(input, STDIN_FILENO);
            dup2(output, STDOUT_FILENO);
            dup2(errors, STDERR_FILENO);
        }
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execve(program.c_str(), argv.data(), envp.data());
        const int reason = errno;
        [[maybe_unused]] const auto written = write(begun[1], &reason, sizeof reason);
        _exit(127);
    }
    const int failure = errno;
    close(input);
    close(output);
    close(errors);
    close(begun[1]);
    int reason = 0;
    while (pid_ > 0 && read(begun[0], &reason, sizeof reason) < 0 && errno == EINTR) {
    }
    close(begun[0]);
    if (reason != 0) {
        neverBegan_ = program + ": " + std::generic_category().message(reason);
        isMissing_ = reason == ENOENT;
    }
    if (pid_ < 0) {
        throw std::system_error(failure, std::generic_category(), "fork");
    }
    setpgid(pid_, pid_);
    pidFd_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
    if (pidFd_ < 0) {
        throw std::system_error(errno, std::generic_category(), "pidfd_open");
    }
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : options_(std::move(other.options_)),
      title_(std::move(other.title_)),
      neverBegan_(std::move(other.neverBegan_)),
      isMissing_(other.isMissing_),
      pid_(std::exchange(other.pid_, -1)),
      pidFd_(std::exchange(other.pidFd_, -1)),
      status_(other.status_) {}

ChildProcess& ChildProcess::operator=(ChildProcess&& other) noexcept {
    if (this != &other) {
        release();
        options_ = std::move(other.options_);
        title_ = std::move(other.title_);
        neverBegan_ = std::move(other.neverBegan_);
        isMissing_ = other.isMissing_;
        pid_ = std::exchange(other.pid_, -1);
        pidFd_ = std::exchange(other.pidFd_, -1);
        status_ = other.status_;
    }
    return *this;
}

ChildProcess::~ChildProcess() {
    release();
}

void ChildProcess::release() {
    if (pidFd_ >= 0) {
        stop();
        close(std::exchange(pidFd_, -1));
    }
}

bool ChildProcess::running() {
    return !wait(Bound{0});
}

std::optional<ExitStatus> ChildProcess::wait(Bound bound) {
    if (status_ || pidFd_ < 0) {
        return status_;
    }
    pollfd ended{.fd = pidFd_, .events = POLLIN, .revents = 0};
    const auto end = std::chrono::steady_clock::now() + bound;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<Bound>(end - std::chrono::steady_clock::now()).count();
        const int found = poll(&ended, 1, left > 0 ? static_cast<int>(left) : 0);
        if (found > 0) {
            break;
        }
        if (found == 0 || errno != EINTR) {
            return std::nullopt;
        }
    }
    int raw = 0;
    while (waitpid(pid_, &raw, 0) < 0 && errno == EINTR) {
    }
    status_ = WIFSIGNALED(raw) ? -WTERMSIG(raw) : WEXITSTATUS(raw);
    return status_;
}

void ChildProcess::signal(int number) {
    // The group's id can't have been given to another while its leader hasn't been waited for.
    if (running()) {
        kill(-pid_, number);
    }
}

ExitStatus ChildProcess::stop(Bound bound) {
    signal(SIGTERM);
    signal(SIGCONT);
    if (!wait(bound)) {
        signal(SIGKILL);
        wait(patience);
    }
    return status_.value_or(-SIGKILL);
}

std::string ChildProcess::output() const {
    return readFile(options_.output);
}
std::string ChildProcess::errors() const {
    return readFile(options_.errors);
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void writeFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    if (!file.flush()) {
        throw std::runtime_error("can't write " + path.string());
    }
}

} // namespace velmoran::support
