#include "app/qtbase/UserHistory.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {

/// Held through a lock on a file beside the history, which the kernel drops when the process ends.
class Keeper {
public:
    explicit Keeper(int descriptor) : descriptor_(descriptor) {}
    Keeper(Keeper&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Keeper& operator=(Keeper&&) = delete;
    Keeper(const Keeper&) = delete;
    Keeper& operator=(const Keeper&) = delete;
    ~Keeper() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

private:
    int descriptor_;
};

/// Nothing if there can be no lock, as in a folder that can't be written to.
std::optional<Keeper> keep(const std::filesystem::path& history, bool& kept) {
    auto path = history;
    path += ".lock";
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (descriptor < 0) {
        return std::nullopt;
    }
    Keeper keeper(descriptor);
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        kept = errno == EWOULDBLOCK;
        return std::nullopt;
    }
    return keeper;
}

struct KeptHistory {
    std::optional<Keeper> keeper; ///< goes last
    HistoryStore store;

    KeptHistory(std::optional<Keeper> given, const std::filesystem::path& path)
        : keeper(std::move(given)),
          store(path) {}
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

std::shared_ptr<HistoryStore> openUserHistory(WhenKept whenKept,
                                              const std::filesystem::path& path) {
    // The lock comes first, so its folder is made here; what can't be made the store will say.
    std::error_code ignored;
    if (std::filesystem::create_directories(path.parent_path(), ignored)) {
        std::filesystem::permissions(path.parent_path(), std::filesystem::perms::owner_all,
                                     ignored);
    }
    bool kept = false;
    auto keeper = keep(path, kept);
    if (kept && whenKept == WhenKept::giveWay) {
        throw HistoryIsKept();
    }
    auto history = std::make_shared<KeptHistory>(std::move(keeper), path);
    return {history, &history->store};
}

} // namespace velmoran
