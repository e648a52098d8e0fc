#include "app/qtbase/SettingsText.h"

#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr char16_t quote = u'"';
constexpr QLatin1String stringBegin("@String(");

bool isHex(QChar character) {
    const auto code = character.toLower().unicode();
    return (code >= u'0' && code <= u'9') || (code >= u'a' && code <= u'f');
}

/// Number of the digits from `at` on, which is moved behind them.
ushort number(const QString& text, qsizetype& at, int base) {
    ushort value = 0;
    for (; at < text.size(); ++at) {
        bool isDigit = false;
        const auto digit = QStringView(text).mid(at, 1).toUShort(&isDigit, base);
        if (!isDigit) {
            break;
        }
        value = static_cast<ushort>(value * base + digit);
    }
    return value;
}

/// The character that an escape stands for, whose first one behind the backslash is at `at`.
QChar unescaped(const QString& text, qsizetype& at) {
    static const QString letters = QStringLiteral("abfnrtv");
    static const QString meanings = QStringLiteral("\a\b\f\n\r\t\v");
    const auto first = text[at];
    if (first == u'x') {
        return QChar(number(text, ++at, 16));
    }
    if (first >= u'0' && first <= u'7') {
        return QChar(number(text, at, 8));
    }
    ++at;
    const auto known = letters.indexOf(first);
    return known < 0 ? first : meanings[known];
}

QStringList decoded(const QString& text) {
    QStringList elements;
    QString element;
    qsizetype kept = 0; // of the element, as blanks at its end don't count outside quotes
    bool isQuoted = false;
    const auto finish = [&] {
        elements.append(element.left(kept));
        element.clear();
        kept = 0;
    };
    for (qsizetype at = 0; at < text.size();) {
        const auto character = text[at];
        if (character == u'\\' && at + 1 < text.size()) {
            element += unescaped(text, ++at);
            kept = element.size();
            continue;
        }
        ++at;
        if (character == quote) {
            isQuoted = !isQuoted;
            kept = std::max(kept, element.size());
        } else if (character == u',' && !isQuoted) {
            finish();
        } else if (character == u';' && !isQuoted) {
            break; // a remark
        } else if (isQuoted || !character.isSpace()) {
            element += character;
            kept = element.size();
        } else if (kept > 0) {
            element += character;
        }
    }
    finish();
    return elements;
}

QByteArray encoded(const QString& element) {
    QString text;
    bool wasNumber = false;
    for (const auto character : element) {
        const auto code = character.unicode();
        // A number has no end of its own.
        if (code < 0x20 || (code >= 0x7F && code <= 0xFF) || character.isSurrogate() ||
            (wasNumber && isHex(character))) {
            text += QStringLiteral("\\x") + QString::number(code, 16);
            wasNumber = true;
            continue;
        }
        wasNumber = false;
        if (character == quote || character == u'\\') {
            text += u'\\';
        }
        text += character;
    }
    const bool isPlain =
        !text.isEmpty() && std::all_of(text.begin(), text.end(), [](QChar character) {
            return character.isLetterOrNumber() || character == u'.' || character == u'-';
        });
    return (isPlain ? text : quote + text + quote).toUtf8();
}

} // namespace

QString SettingsText::elementOf(const QString& text) {
    if (text.contains(QChar(u'\0'))) {
        return QString(stringBegin) + text + u')';
    }
    return text.startsWith(u'@') ? u'@' + text : text;
}

std::optional<QString> SettingsText::textIn(const QString& element) {
    if (!element.startsWith(u'@')) {
        return element;
    }
    if (element.startsWith(stringBegin) && element.endsWith(u')')) {
        return element.mid(stringBegin.size(), element.size() - stringBegin.size() - 1);
    }
    return element.startsWith(QLatin1String("@@")) ? std::optional(element.mid(1)) : std::nullopt;
}

SettingsText::SettingsText(const QByteArray& text) {
    bool isInGeneral = true; // until another section begins
    auto lines = text.split('\n');
    if (lines.last().isEmpty()) {
        lines.removeLast();
    }
    for (auto& line : lines) {
        const auto trimmed = line.trimmed();
        QString key;
        if (trimmed.startsWith('[')) {
            isInGeneral = trimmed == "[General]";
        } else if (const auto equals = trimmed.indexOf('=');
                   isInGeneral && equals > 0 && !trimmed.startsWith(';')) {
            key = QString::fromUtf8(trimmed.left(equals).trimmed());
        }
        lines_.append({std::move(line), key, isInGeneral});
    }
}

std::optional<QStringList> SettingsText::elements(const QString& key) const {
    const auto found = std::find_if(lines_.rbegin(), lines_.rend(),
                                    [&](const Line& line) { return line.key == key; });
    if (found == lines_.rend()) {
        return std::nullopt;
    }
    return decoded(QString::fromUtf8(found->text.mid(found->text.indexOf('=') + 1)));
}

void SettingsText::set(const QString& key, const QStringList& elements) {
    QByteArrayList values;
    for (const auto& element : elements) {
        values.append(encoded(element));
    }
    remove(key);
    const auto last = std::find_if(lines_.rbegin(), lines_.rend(),
                                   [](const Line& line) { return line.isInGeneral; });
    auto at = last.base() - lines_.begin();
    if (last == lines_.rend()) {
        lines_.insert(0, Line{"[General]", {}, true});
        at = 1;
    }
    const QByteArray value = values.isEmpty() ? QByteArray("@Invalid()") : values.join(", ");
    lines_.insert(at, Line{key.toUtf8() + '=' + value, key, true});
}

void SettingsText::remove(const QString& key) {
    lines_.removeIf([&](const Line& line) { return line.key == key; });
}

QByteArray SettingsText::text() const {
    QByteArray result;
    for (const auto& line : lines_) {
        result += line.text + '\n';
    }
    return result;
}

} // namespace velmoran
