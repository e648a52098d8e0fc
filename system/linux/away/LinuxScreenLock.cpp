#include "system/linux/away/LinuxScreenLock.h"

#include "core/base/SharedEvent.h"
#include "system/linux/away/LockState.h"
#include "system/linux/away/LogindLock.h"
#include "system/linux/away/SaverLock.h"

#include <atomic>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

/// After a lock or an unlock was told. What comes within is told as it is by then, so that a flood
/// of words makes no flood of watches.
constexpr Seconds quietTime = 0.1;

struct Saver {
    LockState::Voice voice;
    SaverLock::Place place;
};

Saver ofDesktop(LockState::Voice voice, const std::string& desktop) {
    const auto name = "org." + desktop + ".ScreenSaver";
    return {voice,
            {.name = name,
             .interface = name,
             .paths = {"/org/" + desktop + "/ScreenSaver", "/ScreenSaver", "/"}}};
}

const std::vector<Saver>& savers() {
    using Voice = LockState::Voice;
    static const char* const gnome = "org.gnome.ScreenSaver";
    static const std::vector<Saver> known = {
        {Voice::desktopSaver,
         {.name = "org.freedesktop.ScreenSaver",
          .interface = "org.freedesktop.ScreenSaver",
          .paths = {"/org/freedesktop/ScreenSaver", "/ScreenSaver"}}},
        {Voice::gnomeSaver,
         {.name = gnome, .interface = gnome, .paths = {"/org/gnome/ScreenSaver"}}},
        {Voice::gnomeShell,
         {.name = "org.gnome.Shell.ScreenShield",
          .interface = gnome,
          .paths = {"/org/gnome/ScreenSaver"}}},
        // As GNOME's but for the name; some have it at another path.
        ofDesktop(Voice::cinnamonSaver, "cinnamon"),
        ofDesktop(Voice::mateSaver, "mate"),
        ofDesktop(Voice::xfceSaver, "xfce")};
    return known;
}

} // namespace

/// The loop's thread, but for what is said otherwise.
class LinuxScreenLock::Listening {
public:
    Listening(EventLoop& loop, BusKeeper& systemBus, BusKeeper& sessionBus, OwnPlace place)
        : loop_(loop),
          place_(std::move(place)) {
        logindEnd_ = systemBus.follow({.up = [this](BusLine& line) { followLogind(line); },
                                       .down =
                                           [this] {
                                               logind_.reset();
                                           }});
        saversEnd_ = sessionBus.follow({.up = [this](BusLine& line) { followSavers(line); },
                                        .down =
                                            [this] {
                                                // What they said stands until they are back.
                                                saverLocks_.clear();
                                                speaking_.clear();
                                                for (const auto& saver : savers()) {
                                                    asked_.insert(saver.voice);
                                                }
                                                update();
                                            }});
    }

    SharedEvent<> locked;           ///< any thread
    SharedEvent<> unlocked;         ///< likewise
    SharedEvent<> announcerChanged; ///< likewise
    std::atomic<bool> isAnnounced = true;

private:
    void followLogind(BusLine& line) {
        using Voice = LockState::Voice;
        logind_ = std::make_unique<LogindLock>(
            line, place_,
            LogindLock::Calls{.requested = [this](bool is) { say(Voice::request, is); },
                              .hinted = [this](bool is) { say(Voice::hint, is); },
                              .found =
                                  [this](bool is) {
                                      state_.answer(Voice::hint, is);
                                      update();
                                  },
                              .ended =
                                  [this] {
                                      state_.leave(Voice::request);
                                      state_.leave(Voice::hint);
                                      update();
                                  }});
    }

    void followSavers(BusLine& line) {
        saverLocks_.clear();
        for (const auto& saver : savers()) {
            const auto voice = saver.voice;
            saverLocks_.push_back(
                std::make_unique<SaverLock>(line, saver.place,
                                            SaverLock::Calls{.said =
                                                                 [this, voice](bool active) {
                                                                     speaking_.insert(voice);
                                                                     say(voice, active);
                                                                 },
                                                             .found =
                                                                 [this, voice](bool active) {
                                                                     asked_.insert(voice);
                                                                     speaking_.insert(voice);
                                                                     state_.answer(voice, active);
                                                                     update();
                                                                 },
                                                             .left =
                                                                 [this, voice] {
                                                                     asked_.insert(voice);
                                                                     speaking_.erase(voice);
                                                                     state_.leave(voice);
                                                                     update();
                                                                 }}));
        }
    }

    void say(LockState::Voice voice, bool isLocked) {
        state_.say(voice, isLocked);
        update();
    }

    void update() {
        const bool known = asked_.size() == savers().size();
        const bool announced = !known || !speaking_.empty() || state_.hasHeardALock();
        if (isAnnounced.exchange(announced) != announced) {
            announcerChanged();
        }
        if (quiet_ || told_ == state_.isLocked()) {
            return;
        }
        told_ = state_.isLocked();
        quiet_ = loop_.after(quietTime, [this] {
            quiet_.reset();
            update();
        });
        (told_ ? locked : unlocked)();
    }

    EventLoop& loop_;
    OwnPlace place_;
    LockState state_;
    bool told_ = false;
    std::set<LockState::Voice> asked_;    ///< those savers that have answered, or aren't there
    std::set<LockState::Voice> speaking_; ///< those that tell
    Subscription quiet_;
    std::unique_ptr<LogindLock> logind_;
    std::vector<std::unique_ptr<SaverLock>> saverLocks_;
    Subscription logindEnd_;
    Subscription saversEnd_;
};

LinuxScreenLock::LinuxScreenLock(EventLoop& loop, BusKeeper& systemBus, BusKeeper& sessionBus,
                                 OwnPlace place)
    : loop_(loop),
      systemBus_(systemBus),
      sessionBus_(sessionBus),
      place_(std::move(place)) {}

LinuxScreenLock::~LinuxScreenLock() {
    loop_.runAndWait([this] { listening_.reset(); });
}

LinuxScreenLock::Listening& LinuxScreenLock::listening() {
    if (!listening_) {
        loop_.runAndWait([this] {
            listening_ = std::make_unique<Listening>(loop_, systemBus_, sessionBus_, place_);
        });
    }
    return *listening_;
}

Subscription LinuxScreenLock::observe(std::function<void()> onLock,
                                      std::function<void()> onUnlock) {
    struct Both {
        Subscription locked;
        Subscription unlocked;
    };
    // In that order for this observer too, who may come while it is locked.
    const auto hasLocked = std::make_shared<std::atomic<bool>>(false);
    const auto both = std::make_shared<Both>();
    both->locked = listening().locked.subscribe([hasLocked, onLock = std::move(onLock)] {
        *hasLocked = true;
        onLock();
    });
    both->unlocked = listening().unlocked.subscribe([hasLocked, onUnlock = std::move(onUnlock)] {
        if (hasLocked->exchange(false)) {
            onUnlock();
        }
    });
    return Subscription([both] {
        both->locked.reset();
        both->unlocked.reset();
    });
}

bool LinuxScreenLock::isAnnounced() {
    return listening().isAnnounced;
}

Subscription LinuxScreenLock::onAnnouncerChange(std::function<void()> changed) {
    return listening().announcerChanged.subscribe(std::move(changed));
}

} // namespace velmoran
