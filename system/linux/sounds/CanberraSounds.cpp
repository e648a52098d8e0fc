#include "system/linux/sounds/CanberraSounds.h"

#include "core/text/Localizer.h"
#include "system/MakeSounds.h"

#include <canberra.h>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <string>
#include <utility>

namespace velmoran {

namespace {
constexpr std::chrono::milliseconds patienceAtTheEnd(200);
}

struct CanberraSounds::Player {
    std::mutex mutex;
    std::condition_variable changed;
    bool isWanted = false;
    bool isEnding = false;
    std::promise<void> ended;
    std::string description;

    /// The thread's work.
    void run() {
        ca_context* context = nullptr;
        std::unique_lock lock(mutex);
        for (;;) {
            changed.wait(lock, [this] { return isWanted || isEnding; });
            if (isEnding) {
                break;
            }
            isWanted = false;
            const auto text = description;
            lock.unlock();
            if (context || ca_context_create(&context) == CA_SUCCESS) {
                ca_context_play(context, 0, CA_PROP_EVENT_ID, "dialog-warning",
                                CA_PROP_EVENT_DESCRIPTION, text.c_str(), CA_PROP_MEDIA_ROLE,
                                "event", nullptr);
            } else {
                context = nullptr;
            }
            lock.lock();
        }
        lock.unlock();
        if (context) {
            ca_context_destroy(context);
        }
        ended.set_value();
    }
};

CanberraSounds::~CanberraSounds() {
    if (!player_) {
        return;
    }
    {
        const std::lock_guard lock(player_->mutex);
        player_->isEnding = true;
    }
    player_->changed.notify_all();
    if (player_->ended.get_future().wait_for(patienceAtTheEnd) == std::future_status::ready) {
        thread_.join();
    } else {
        thread_.detach();
    }
}

void CanberraSounds::playWarning() {
    if (!player_) {
        player_ = std::make_shared<Player>();
        thread_ = std::thread([player = player_] { player->run(); });
    }
    const std::lock_guard lock(player_->mutex);
    player_->description = words().text("Velmoran: a warning is waiting");
    player_->isWanted = true;
    player_->changed.notify_all();
}

std::unique_ptr<Sounds> makeSounds() {
    return std::make_unique<CanberraSounds>();
}

} // namespace velmoran
