#include "app/qtbase/QtSettingsFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QSaveFile>
#include <QStandardPaths>
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

/// An at sign begins what is no text, and is doubled before one.
std::optional<std::string> asText(const QString& element) {
    if (!element.startsWith(u'@')) {
        return element.toStdString();
    }
    return element.startsWith(QLatin1String("@@")) ? std::optional(element.mid(1).toStdString())
                                                   : std::nullopt;
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

/// Empty where there is no file, or something else in its place.
QByteArray textOf(const QString& path) {
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return {};
    }
    struct stat kind {};
    QFile file;
    const bool isFile = ::fstat(descriptor, &kind) == 0 && S_ISREG(kind.st_mode) &&
                        file.open(descriptor, QFile::ReadOnly);
    const auto text = isFile ? file.readAll() : QByteArray();
    ::close(descriptor);
    return text;
}

/// Between two of our programs that write one file: each waits for the other as long as writing
/// takes, and goes on without it where somebody holds it for longer.
class Turn {
public:
    explicit Turn(const QString& folder)
        : folder_(
              ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        constexpr int milliseconds = 20;
        for (int i = 0; i < milliseconds && ::flock(folder_, LOCK_EX | LOCK_NB) != 0; ++i) {
            ::poll(nullptr, 0, 1);
        }
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { ::close(folder_); }

private:
    int folder_;
};

} // namespace

QtSettingsFile::QtSettingsFile()
    : QtSettingsFile(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                     QStringLiteral("/Velmoran/Velmoran.conf")) {}

QtSettingsFile::QtSettingsFile(QString path) : path_(std::move(path)), file_(textOf(path_)) {}

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
        const auto text = QString::fromStdString(each);
        elements.append(text.startsWith(u'@') ? u'@' + text : text);
    }
    write(key, std::move(elements));
}

void QtSettingsFile::remove(const std::string& key) {
    write(key, std::nullopt);
}

void QtSettingsFile::reload() {
    file_ = SettingsText(textOf(path_));
}

void QtSettingsFile::write(const std::string& key, Value given) {
    unwritten_[keyOf(key)] = std::move(given);
    const auto folder = QFileInfo(path_).path();
    QDir().mkpath(folder);
    const Turn turn(folder);
    reload();
    auto text = file_;
    for (auto each = unwritten_.begin(); each != unwritten_.end(); ++each) {
        if (*each) {
            text.set(each.key(), **each);
        } else {
            text.remove(each.key());
        }
    }
    QSaveFile file(path_);
    const bool isNew = !QFile::exists(path_);
    if (!file.open(QFile::WriteOnly) || file.write(text.text()) < 0 ||
        (isNew && !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner)) || !file.commit()) {
        return;
    }
    file_ = std::move(text);
    unwritten_.clear();
}

} // namespace velmoran
