#include "app/qtbase/QtSettingsFile.h"

#include <QByteArray>
#include <QMetaType>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <cmath>

// A text file keeps no types: there a truth value and a number are texts, and an array with one
// element can't be told from the element. Where the platform keeps types, only those count.

namespace velmoran {

namespace {

QString keyOf(const std::string& key) {
    return QString::fromStdString(key);
}

bool is(const QVariant& value, QMetaType::Type type) {
    return value.metaType().id() == type;
}

std::optional<bool> asBoolean(const QVariant& value) {
    if (is(value, QMetaType::Bool)) {
        return value.toBool();
    }
    if (is(value, QMetaType::QString)) {
        const auto text = value.toString();
        if (text == QLatin1String("true")) {
            return true;
        }
        if (text == QLatin1String("false")) {
            return false;
        }
    }
    return std::nullopt;
}

std::optional<std::int64_t> asInteger(const QVariant& value) {
    if (is(value, QMetaType::Int) || is(value, QMetaType::LongLong)) {
        return value.toLongLong();
    }
    if (is(value, QMetaType::QString)) {
        bool done = false;
        const auto number = value.toString().toLongLong(&done, 10);
        return done ? std::optional<std::int64_t>(number) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<double> asNumber(const QVariant& value) {
    const bool number = is(value, QMetaType::Double) || is(value, QMetaType::Int) ||
                        is(value, QMetaType::LongLong) || is(value, QMetaType::QString);
    bool done = false;
    const auto result = number ? value.toDouble(&done) : 0;
    return done && std::isfinite(result) ? std::optional(result) : std::nullopt;
}

std::optional<std::string> asText(const QVariant& value) {
    return is(value, QMetaType::QString) ? std::optional(value.toString().toStdString())
                                         : std::nullopt;
}

/// Nothing if it isn't an array, or not all of it is read.
template <class T>
std::optional<std::vector<T>> asList(const QVariant& value,
                                     std::optional<T> (*read)(const QVariant&)) {
    if (!is(value, QMetaType::QVariantList) && !is(value, QMetaType::QStringList) &&
        !is(value, QMetaType::QString)) {
        return std::nullopt;
    }
    std::vector<T> result;
    for (const auto& each : is(value, QMetaType::QString) ? QVariantList{value} : value.toList()) {
        const auto element = read(each);
        if (!element) {
            return std::nullopt;
        }
        result.push_back(*element);
    }
    return result;
}

} // namespace

QtSettingsFile::QtSettingsFile()
    : settings_(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Velmoran"),
                QStringLiteral("Velmoran")) {
    settings_.setFallbacksEnabled(false);
}

QtSettingsFile::QtSettingsFile(const QString& path) : settings_(path, QSettings::NativeFormat) {
    settings_.setFallbacksEnabled(false);
}

QVariant QtSettingsFile::value(const std::string& key) const {
    return settings_.value(keyOf(key));
}

std::optional<bool> QtSettingsFile::boolean(const std::string& key) const {
    return asBoolean(value(key));
}

std::optional<std::int64_t> QtSettingsFile::integer(const std::string& key) const {
    return asInteger(value(key));
}

std::optional<std::vector<double>> QtSettingsFile::numbers(const std::string& key) const {
    return asList(value(key), asNumber);
}

std::optional<std::string> QtSettingsFile::bytes(const std::string& key) const {
    const auto written = value(key);
    return is(written, QMetaType::QByteArray) ? std::optional(written.toByteArray().toStdString())
                                              : std::nullopt;
}

std::optional<std::vector<std::string>> QtSettingsFile::texts(const std::string& key) const {
    return asList(value(key), asText);
}

void QtSettingsFile::setBoolean(const std::string& key, bool given) {
    write(key, given);
}

void QtSettingsFile::setInteger(const std::string& key, std::int64_t given) {
    write(key, static_cast<qlonglong>(given));
}

void QtSettingsFile::setNumbers(const std::string& key, const std::vector<double>& given) {
    write(key, QVariantList(given.begin(), given.end()));
}

void QtSettingsFile::setBytes(const std::string& key, const std::string& given) {
    write(key, QByteArray::fromStdString(given));
}

void QtSettingsFile::setTexts(const std::string& key, const std::vector<std::string>& given) {
    QStringList list;
    for (const auto& each : given) {
        list.append(QString::fromStdString(each));
    }
    write(key, list);
}

void QtSettingsFile::remove(const std::string& key) {
    settings_.remove(keyOf(key));
    settings_.sync();
}

void QtSettingsFile::reload() {
    settings_.sync();
}

void QtSettingsFile::write(const std::string& key, const QVariant& given) {
    settings_.setValue(keyOf(key), given);
    settings_.sync();
}

} // namespace velmoran
