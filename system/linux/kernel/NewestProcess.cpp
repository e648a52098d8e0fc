#include "system/linux/kernel/NewestProcess.h"

#include "system/TextParsing.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string_view>
#include <thread>

namespace velmoran {

NewestProcess::NewestProcess(const std::string& counter, const std::string& summary)
    : file_(::open(counter.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (!file_.isOpen()) {
        file_ = Descriptor(::open(summary.c_str(), O_RDONLY | O_CLOEXEC));
    }
    const auto before = read();
    if (before) {
        std::thread([] {}).join();
        isAlive_ = read() != before;
    }
}

std::optional<pid_t> NewestProcess::id() const {
    return isAlive_ ? read() : std::nullopt;
}

std::optional<pid_t> NewestProcess::read() const {
    std::array<char, 128> front; // NOLINT: filled by the call
    const ssize_t count = ::pread(file_.get(), front.data(), front.size(), 0);
    if (count <= 0) {
        return std::nullopt;
    }
    std::string_view text(front.data(), static_cast<std::size_t>(count));
    text = text.substr(0, text.find('\n'));
    text = text.substr(text.rfind(' ') + 1); // all of it if there is no blank
    const auto id = wholeNumber<pid_t>(text);
    return id && *id > 0 ? id : std::nullopt;
}

} // namespace velmoran
