#include "system/linux/kernel/NewestProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <string_view>
#include <thread>

namespace velmoran {

NewestProcess::NewestProcess(const std::string& counter, const std::string& summary)
    : file_(::open(counter.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0) {
        file_ = ::open(summary.c_str(), O_RDONLY | O_CLOEXEC);
    }
    const auto before = read();
    if (before) {
        std::thread([] {}).join();
        isAlive_ = read() != before;
    }
}

NewestProcess::~NewestProcess() {
    if (file_ >= 0) {
        ::close(file_);
    }
}

std::optional<pid_t> NewestProcess::id() const {
    return isAlive_ ? read() : std::nullopt;
}

std::optional<pid_t> NewestProcess::read() const {
    std::array<char, 128> front; // NOLINT: filled by the call
    const ssize_t count = file_ < 0 ? -1 : ::pread(file_, front.data(), front.size(), 0);
    if (count <= 0) {
        return std::nullopt;
    }
    std::string_view text(front.data(), static_cast<std::size_t>(count));
    text = text.substr(0, text.find('\n'));
    text = text.substr(text.rfind(' ') + 1); // all of it if there is no blank
    pid_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    const bool isId = error == std::errc{} && end == text.data() + text.size() && id > 0;
    return isId ? std::optional(id) : std::nullopt;
}

} // namespace velmoran
