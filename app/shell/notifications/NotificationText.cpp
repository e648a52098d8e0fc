#include "app/shell/notifications/NotificationText.h"

#include "app/look/CardText.h"

#include <QString>
#include <array>
#include <utility>

namespace velmoran {

namespace {

/// Invisible, and what it stands in is no address any more.
const QString joiner = QString(QChar(0x2060));

/// Some desktops make links of what looks like one, in plain text too.
QString withoutLinks(QString text) {
    const std::array<std::pair<QString, QString>, 3> breaks{{
        {QStringLiteral("://"), ":" + joiner + "//"},
        {QStringLiteral("www."), "www" + joiner + "."},
        {QStringLiteral("mailto:"), "mailto" + joiner + ":"},
    }};
    for (const auto& [from, to] : breaks) {
        text.replace(from, to, Qt::CaseInsensitive);
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
