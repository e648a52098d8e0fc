#include "system/linux/away/IioLidAngle.h"

#include "system/linux/away/IioDevices.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace velmoran {

namespace {

// How long the main thread waits: for the first angle, and for each after it.
constexpr std::chrono::milliseconds longestFirst{500};
constexpr std::chrono::milliseconds longestNext{5};

} // namespace

/// What the two threads share. The reading one holds it as long as it is in the kernel, which may
/// be longer than anybody wants to wait.
struct IioLidAngle::Reader {
    explicit Reader(HingeFiles itsFiles) : files(std::move(itsFiles)) {}

    void run() {
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return isWanted || isOver; });
            if (isOver) {
                return;
            }
            lock.unlock();
            const auto read = hingeDegrees(files);
            lock.lock();
            angle = read;
            isWanted = false;
            isThere = true;
            changed.notify_all();
        }
    }

    /// The last reading that nobody has taken, or one begun now if it comes in that time.
    std::optional<int> take(std::chrono::milliseconds bound) {
        std::unique_lock lock(mutex);
        const bool wasLate = isWanted || isThere;
        if (!isWanted && !isThere) {
            isWanted = true;
            changed.notify_all();
        }
        if (!changed.wait_for(lock, bound, [this] { return isThere; })) {
            return std::nullopt;
        }
        isThere = false;
        if (wasLate) {
            isWanted = true; // a slow one begins with what the next call will take
            changed.notify_all();
        }
        return std::exchange(angle, std::nullopt);
    }

    const HingeFiles files;
    std::mutex mutex;
    std::condition_variable changed;
    std::optional<int> angle;
    bool isWanted = false;
    bool isThere = false;
    bool isOver = false;
};

std::unique_ptr<LidAngle> IioLidAngle::open(const std::string& folder) {
    auto files = findHinge(folder);
    if (!files) {
        return nullptr;
    }
    std::unique_ptr<IioLidAngle> sensor(
        new IioLidAngle(std::make_shared<Reader>(std::move(*files))));
    sensor->first_ = sensor->reader_->take(longestFirst);
    if (!sensor->first_) {
        return nullptr;
    }
    return sensor;
}

IioLidAngle::IioLidAngle(std::shared_ptr<Reader> reader) : reader_(std::move(reader)) {
    std::thread([shared = reader_] { shared->run(); }).detach();
}

IioLidAngle::~IioLidAngle() {
    const std::lock_guard lock(reader_->mutex);
    reader_->isOver = true;
    reader_->changed.notify_all();
}

std::optional<int> IioLidAngle::read() {
    // Whoever has opened it asks at once, and a slow sensor has no other by then.
    const auto first = std::exchange(first_, std::nullopt);
    return first ? first : reader_->take(longestNext);
}

} // namespace velmoran
