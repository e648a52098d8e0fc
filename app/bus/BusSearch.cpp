#include "app/bus/BusSearch.h"

#include "system/bus/BusAddress.h"

#include <QObject>
#include <QSocketNotifier>
#include <array>
#include <filesystem>
#include <map>
#include <set>
#include <sys/inotify.h>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {

/// After a socket has come: its server begins to listen a moment later.
constexpr std::array<Seconds, 3> soon = {0.05, 0.5, 3.0};

} // namespace

/// The folders of the sockets, watched as far as they are there.
class BusSearch::Folders {
public:
    Folders(const std::string& address, std::function<void()> came)
        : notify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
          came_(std::move(came)) {
        for (const std::filesystem::path path : socketPaths(address)) {
            names_[path.parent_path()].insert(path.filename());
        }
        if (notify_ < 0) {
            return;
        }
        notifier_ = std::make_unique<QSocketNotifier>(notify_, QSocketNotifier::Read);
        QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { read(); });
        watch();
    }
    ~Folders() {
        notifier_.reset();
        if (notify_ >= 0) {
            ::close(notify_);
        }
    }
    Folders(const Folders&) = delete;
    Folders& operator=(const Folders&) = delete;

    /// A folder that is watched already stays so.
    void watch() {
        for (const auto& [folder, names] : names_) {
            const int watch = ::inotify_add_watch(notify_, folder.c_str(),
                                                  IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_ONLYDIR);
            if (watch >= 0) {
                watched_[watch] = folder;
            }
        }
    }

private:
    void read() {
        alignas(inotify_event) std::array<char, 4096> bytes{};
        bool came = false;
        for (;;) {
            const auto size = ::read(notify_, bytes.data(), bytes.size());
            if (size <= 0) {
                break;
            }
            for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
                const auto* event = reinterpret_cast<const inotify_event*>(bytes.data() + at);
                at += sizeof(inotify_event) + event->len;
                if ((event->mask & IN_IGNORED) != 0) {
                    watched_.erase(event->wd); // the folder has gone
                    continue;
                }
                const auto folder = watched_.find(event->wd);
                came |= folder != watched_.end() && event->len > 0 &&
                        names_[folder->second].contains(event->name);
            }
        }
        if (came) {
            came_();
        }
    }

    int notify_;
    std::function<void()> came_;
    std::map<std::filesystem::path, std::set<std::string>> names_; ///< of sockets, by folder
    std::map<int, std::filesystem::path> watched_;
    std::unique_ptr<QSocketNotifier> notifier_;
};

BusSearch::BusSearch(const std::string& address, Scheduler& scheduler, Seconds interval,
                     std::function<void()> attempt)
    : scheduler_(scheduler),
      attempt_(std::move(attempt)),
      folders_(std::make_unique<Folders>(address, [this] { trySoon(); })),
      regularly_(scheduler.every(interval, [this] {
          folders_->watch(); // one that wasn't there may be now
          tryNow();
      })) {
    trySoon();
}

BusSearch::~BusSearch() = default;

void BusSearch::trySoon() {
    step_ = 0;
    retry();
}

void BusSearch::retry() {
    soon_ = scheduler_.after(soon[step_], [this] {
        if (++step_ < soon.size()) {
            retry();
        }
        tryNow();
    });
}

void BusSearch::tryNow() {
    const auto attempt = attempt_; // it may drop us
    attempt();
}

} // namespace velmoran
