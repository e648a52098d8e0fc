// An open descriptor of the kernel's, closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace velmoran {

class Descriptor {
public:
    /// Negative for none, as the calls that open one answer when they fail.
    explicit Descriptor(int value = -1) : value_(value) {}
    ~Descriptor() {
        if (isOpen()) {
            ::close(value_);
        }
    }
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return value_; }
    bool isOpen() const { return value_ >= 0; }

private:
    int value_;
};

} // namespace velmoran
