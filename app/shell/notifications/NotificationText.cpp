#include "app/shell/notifications/NotificationText.h"

#include "app/look/CardText.h"

#include <QString>
#include <array>
#include <utility>

namespace velmoran {

namespace {

/// Invisible, and what it stands in is no address any more.
const QString joiner = QString(QChar(0x2060));

bool isLetter(QChar c) {
    return (c >= QLatin1Char('a') && c <= QLatin1Char('z')) ||
           (c >= QLatin1Char('A') && c <= QLatin1Char('Z'));
}

/// Whether a dot begins "www." or "www2.", or the "example/" of "an.example/".
bool isOfAddress(const QString& text, qsizetype dot) {
    auto before = dot;
    while (before > 0 && text[before - 1].isDigit()) {
        --before;
    }
    if (QStringView(text).left(before).endsWith(QLatin1String("www"), Qt::CaseInsensitive)) {
        return true;
    }
    auto after = dot + 1;
    while (after < text.size() && isLetter(text[after])) {
        ++after;
    }
    return after > dot + 1 && after < text.size() && text[after] == QLatin1Char('/');
}

/// Some desktops make links of what looks like one, in plain text too.
QString withoutLinks(QString text) {
    const std::array<std::pair<QString, QString>, 2> breaks{{
        {QStringLiteral("://"), ":" + joiner + "//"},
        {QStringLiteral("mailto:"), "mailto" + joiner + ":"},
    }};
    for (const auto& [from, to] : breaks) {
        text.replace(from, to, Qt::CaseInsensitive);
    }
    for (auto dot = text.indexOf(QLatin1Char('.')); dot >= 0;
         dot = text.indexOf(QLatin1Char('.'), dot + 1)) {
        if (isOfAddress(text, dot)) {
            text.insert(dot++, joiner);
        }
    }
    return text;
}

QString harmless(const std::string& text) {
    return withoutLinks(harmlessText(QString::fromStdString(text)));
}

} // namespace

std::string notificationTitle(const std::string& title) {
    return harmless(title).simplified().toStdString();
}

std::string notificationBody(const std::string& text, bool hasMarkup) {
    const auto plain = harmless(text);
    return (hasMarkup ? plain.toHtmlEscaped() : plain).toStdString();
}

} // namespace velmoran
