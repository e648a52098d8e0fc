#include "app/shell/login/AutostartEntry.h"

#include "app/shell/login/AutostartText.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace velmoran {

namespace {

constexpr auto inFolder = "/autostart/org.velmoran.Velmoran.desktop";
/// Whoever made a longer one didn't mean an entry.
constexpr qint64 mostBytes = 64L * 1024;

/// Nothing where nothing is; empty where something is that can't be read.
std::optional<QByteArray> textAt(const QString& path) {
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return errno == ENOENT || errno == ENOTDIR ? std::nullopt : std::optional(QByteArray());
    }
    struct stat kind {};
    QFile file;
    QByteArray text;
    // Nobody holds us up with a pipe in its place.
    if (::fstat(descriptor, &kind) == 0 && S_ISREG(kind.st_mode) && kind.st_size <= mostBytes &&
        file.open(descriptor, QFile::ReadOnly, QFileDevice::DontCloseHandle)) {
        text = file.read(mostBytes);
        file.close();
    }
    ::close(descriptor);
    return text;
}

bool canRun(const std::string& program) {
    const auto name = QFile::decodeName(QByteArray::fromStdString(program));
    return name.startsWith(u'/') ? QFileInfo(name).isFile() && QFileInfo(name).isExecutable()
                                 : !QStandardPaths::findExecutable(name).isEmpty();
}

bool write(const QString& path, const std::string& text) {
    if (!QDir().mkpath(QFileInfo(path).path())) {
        return false;
    }
    QSaveFile file(path);
    return file.open(QFile::WriteOnly) &&
           file.write(text.data(), static_cast<qint64>(text.size())) ==
               static_cast<qint64>(text.size()) &&
           file.commit();
}

} // namespace

AutostartEntry::AutostartEntry(QString program, QString arguments, std::string desktop)
    : program_(std::move(program)),
      arguments_(std::move(arguments)),
      desktop_(std::move(desktop)),
      path_(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QLatin1String(inFolder)) {
    for (const auto& folder :
         QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation)) {
        if (const auto path = folder + QLatin1String(inFolder); path != path_) {
            others_.append(path);
        }
    }
}

bool AutostartEntry::isOnBy(const QByteArray& text) const {
    return startsSomething(text.toStdString(), desktop_, canRun);
}

bool AutostartEntry::isOn() const {
    for (const auto& path : QStringList(path_) + others_) {
        if (const auto text = textAt(path)) {
            return isOnBy(*text);
        }
    }
    return false;
}

bool AutostartEntry::set(bool on) {
    if (on) {
        return write(path_, autostartText(QFile::encodeName(program_).toStdString(),
                                          arguments_.toStdString())) &&
               isOn();
    }
    for (const auto& path : others_) {
        if (const auto text = textAt(path)) {
            if (isOnBy(*text)) {
                return write(path_, hiddenAutostartText());
            }
            break;
        }
    }
    return QFile::remove(path_) || !isOn();
}

} // namespace velmoran
