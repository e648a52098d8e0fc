#include "app/qtbase/QtSettingsFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QStandardPaths>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

// A text file keeps no types: there a truth value and a number are texts, and an array with one
// element can't be told from the element.

namespace velmoran {

namespace {

constexpr QLatin1String bytesBegin("@ByteArray(");

QString keyOf(const std::string& key) {
    return QString::fromStdString(key);
}

std::optional<double> asNumber(const QString& element) {
    bool done = false;
    const auto result = element.toDouble(&done);
    return done && std::isfinite(result) ? std::optional(result) : std::nullopt;
}

std::optional<std::string> asText(const QString& element) {
    const auto text = SettingsText::textIn(element);
    return text ? std::optional(text->toStdString()) : std::nullopt;
}

/// Nothing if not all of it is read.
template <class T>
std::optional<std::vector<T>> asList(const std::optional<QStringList>& value,
                                     std::optional<T> (*read)(const QString&)) {
    if (!value) {
        return std::nullopt;
    }
    std::vector<T> result;
    for (const auto& each : *value) {
        const auto element = read(each);
        if (!element) {
            return std::nullopt;
        }
        result.push_back(*element);
    }
    return result;
}

/// More than anybody's settings are. Who made a larger file wants it to be read again and again.
constexpr qsizetype mostBytes = 1024L * 1024;

/// What stands at the file's place.
struct Found {
    std::optional<QByteArray> text; ///< nothing if it can't be read; empty where nothing is
    bool mayBeSettings = true;      ///< otherwise nothing is lost with it
};

std::optional<QByteArray> readAll(int descriptor) {
    QByteArray text(mostBytes + 1, Qt::Uninitialized);
    qsizetype size = 0;
    while (size <= mostBytes) {
        const auto count =
            ::read(descriptor, text.data() + size, static_cast<std::size_t>(text.size() - size));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return std::nullopt;
        }
        if (count == 0) {
            return text.left(size);
        }
        size += count;
    }
    return std::nullopt;
}

Found lookAt(const QString& path) {
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return errno == ENOENT ? Found{.text = QByteArray(), .mayBeSettings = false} : Found();
    }
    Found found;
    struct stat kind {};
    if (::fstat(descriptor, &kind) == 0) {
        found.mayBeSettings = S_ISREG(kind.st_mode);
        if (found.mayBeSettings && kind.st_size <= mostBytes) {
            found.text = readAll(descriptor);
        }
    }
    ::close(descriptor);
    return found;
}

/// Between two of our programs that write one file: each waits for the other as long as writing
/// takes, and goes on without it where somebody holds it for longer.
class Turn {
public:
    explicit Turn(const QString& folder)
        : folder_(
              ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        constexpr int milliseconds = 20;
        for (int i = 0;
             folder_ >= 0 && i < milliseconds && ::flock(folder_, LOCK_EX | LOCK_NB) != 0; ++i) {
            ::poll(nullptr, 0, 1);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (folder_ >= 0) {
            ::close(folder_);
        }
    }

private:
    int folder_;
};

} // namespace

QtSettingsFile::QtSettingsFile()
    : QtSettingsFile(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                     QStringLiteral("/Velmoran/Velmoran.conf")) {}

QtSettingsFile::QtSettingsFile(QString path)
    : path_(std::move(path)),
      file_(lookAt(path_).text.value_or(QByteArray())) {}

QtSettingsFile::~QtSettingsFile() {
    writeUnwritten();
}

QtSettingsFile::Value QtSettingsFile::value(const std::string& key) const {
    const auto name = keyOf(key);
    const auto unwritten = unwritten_.find(name);
    return unwritten != unwritten_.end() ? *unwritten : file_.elements(name);
}

std::optional<QString> QtSettingsFile::single(const std::string& key) const {
    const auto found = value(key);
    return found && found->size() == 1 ? std::optional(found->first()) : std::nullopt;
}

std::optional<bool> QtSettingsFile::boolean(const std::string& key) const {
    const auto text = single(key);
    if (text == QLatin1String("true")) {
        return true;
    }
    return text == QLatin1String("false") ? std::optional(false) : std::nullopt;
}

std::optional<std::int64_t> QtSettingsFile::integer(const std::string& key) const {
    const auto text = single(key);
    bool done = false;
    const auto number = text ? text->toLongLong(&done, 10) : 0;
    return done ? std::optional<std::int64_t>(number) : std::nullopt;
}

std::optional<std::vector<double>> QtSettingsFile::numbers(const std::string& key) const {
    return asList(value(key), asNumber);
}

std::optional<std::string> QtSettingsFile::bytes(const std::string& key) const {
    const auto text = single(key);
    if (!text || !text->startsWith(bytesBegin) || !text->endsWith(u')')) {
        return std::nullopt;
    }
    const auto begin = bytesBegin.size();
    return text->mid(begin, text->size() - begin - 1).toLatin1().toStdString();
}

std::optional<std::vector<std::string>> QtSettingsFile::texts(const std::string& key) const {
    return asList(value(key), asText);
}

void QtSettingsFile::setBoolean(const std::string& key, bool given) {
    write(key, QStringList(given ? QStringLiteral("true") : QStringLiteral("false")));
}

void QtSettingsFile::setInteger(const std::string& key, std::int64_t given) {
    write(key, QStringList(QString::number(given)));
}

void QtSettingsFile::setNumbers(const std::string& key, const std::vector<double>& given) {
    QStringList elements;
    for (const auto each : given) {
        elements.append(QString::number(each, 'g', QLocale::FloatingPointShortest));
    }
    write(key, std::move(elements));
}

void QtSettingsFile::setBytes(const std::string& key, const std::string& given) {
    write(key, QStringList(QString(bytesBegin) +
                           QString::fromLatin1(given.data(), static_cast<qsizetype>(given.size())) +
                           u')'));
}

void QtSettingsFile::setTexts(const std::string& key, const std::vector<std::string>& given) {
    QStringList elements;
    for (const auto& each : given) {
        elements.append(SettingsText::elementOf(QString::fromStdString(each)));
    }
    write(key, std::move(elements));
}

void QtSettingsFile::remove(const std::string& key) {
    write(key, std::nullopt);
}

void QtSettingsFile::reload() {
    if (auto text = lookAt(path_).text) {
        file_ = SettingsText(*text);
    }
    writeUnwritten();
}

void QtSettingsFile::write(const std::string& key, Value given) {
    unwritten_[keyOf(key)] = std::move(given);
    writeUnwritten();
}

void QtSettingsFile::writeUnwritten() {
    if (unwritten_.isEmpty()) {
        return;
    }
    const auto folder = QFileInfo(path_).path();
    QDir().mkpath(folder);
    const Turn turn(folder);
    // Whoever writes without having read takes away what is in there: all settings, if none could
    // be read so far, or else what another program has changed since.
    const auto found = lookAt(path_);
    if (!found.text && found.mayBeSettings) {
        return;
    }
    if (found.text) {
        file_ = SettingsText(*found.text);
    }
    auto text = file_;
    for (auto each = unwritten_.begin(); each != unwritten_.end(); ++each) {
        if (*each) {
            text.set(each.key(), **each);
        } else {
            text.remove(each.key());
        }
    }
    const auto bytes = text.text();
    QSaveFile file(path_);
    const bool isNew = !QFile::exists(path_);
    if (bytes.size() > mostBytes || !file.open(QFile::WriteOnly) || file.write(bytes) < 0 ||
        (isNew && !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)) || !file.commit()) {
        return;
    }
    file_ = std::move(text);
    unwritten_.clear();
}

} // namespace velmoran
