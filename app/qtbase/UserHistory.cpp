#include "app/qtbase/UserHistory.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {

using IsVelmoran = std::function<bool(const PeerProgram&)>;

/// Keeps the history by a lock on a file beside it, which the kernel drops when the process ends.
class Keeper {
public:
    Keeper(std::filesystem::path history, WhenKept whenKept, IsVelmoran isVelmoran)
        : history_(std::move(history)),
          whenKept_(whenKept),
          isVelmoran_(std::move(isVelmoran)) {
        keep();
    }
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;
    ~Keeper() {
        if (lock_ >= 0) {
            ::close(lock_);
        }
    }

    /// Takes the lock where it isn't held, as when its file has gone. Without one where there can
    /// be none, as in a folder that can't be written to.
    void keep() {
        makeFolder();
        auto path = history_;
        path += ".lock";
        struct stat held {};
        struct stat there {};
        if (lock_ >= 0 && ::fstat(lock_, &held) == 0 && ::stat(path.c_str(), &there) == 0 &&
            held.st_dev == there.st_dev && held.st_ino == there.st_ino) {
            return;
        }
        const int descriptor =
            ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (descriptor < 0) {
            return;
        }
        if (::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
            if (const int before = std::exchange(lock_, descriptor); before >= 0) {
                ::close(before);
            }
            return;
        }
        const bool isKept = errno == EWOULDBLOCK;
        ::close(descriptor);
        if (isKept && whenKept_ == WhenKept::giveWay && isLockedBy(isVelmoran_, path.string())) {
            throw HistoryIsKept();
        }
    }

private:
    // The lock comes before the history, so its folder is made here; what can't be made the store
    // will say.
    void makeFolder() const {
        std::error_code ignored;
        const auto folder = history_.parent_path();
        if (std::filesystem::create_directories(folder, ignored)) {
            std::filesystem::permissions(folder, std::filesystem::perms::owner_all, ignored);
        }
    }

    std::filesystem::path history_;
    WhenKept whenKept_;
    IsVelmoran isVelmoran_;
    int lock_ = -1;
};

struct KeptHistory {
    Keeper keeper; ///< goes last
    HistoryStore store;

    KeptHistory(const std::filesystem::path& path, WhenKept whenKept, IsVelmoran isVelmoran)
        : keeper(path, whenKept, std::move(isVelmoran)),
          store(path, [this] { keeper.keep(); }) {}
};

} // namespace

std::filesystem::path userHistoryPath() {
    auto folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    // By the XDG Base Directory rules a path that is not absolute counts as not given; followed, it
    // would make one history for each folder that the program is started in.
    if (!QDir::isAbsolutePath(folder)) {
        folder = QDir::homePath() + QStringLiteral("/.local/share");
    }
    return std::filesystem::path(QFile::encodeName(folder).toStdString()) / "Velmoran" /
           "History.store";
}

std::shared_ptr<HistoryStore> openUserHistory(WhenKept whenKept, const std::filesystem::path& path,
                                              std::function<bool(const PeerProgram&)> isVelmoran) {
    auto history = std::make_shared<KeptHistory>(path, whenKept, std::move(isVelmoran));
    return {history, &history->store};
}

} // namespace velmoran
