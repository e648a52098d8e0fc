// The text of a settings file: lines "key=value" under [General], in the form in which Qt's own
// settings write and read it. What it doesn't understand it keeps as it is. A plain value.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace velmoran {

class SettingsText {
public:
    SettingsText() = default;
    explicit SettingsText(const QByteArray& text);

    /// How a text stands among the elements: an at sign begins what is none, as "@Invalid()" and
    /// "@ByteArray(…)", and is doubled before one; one with a zero character is "@String(…)".
    static QString elementOf(const QString& text);
    /// The text that is meant; nothing for what is none.
    static std::optional<QString> textIn(const QString& element);

    /// What stands behind the key, without quotes and escapes: a list has several elements, any
    /// other value one. Nothing if there is no such key. Of two lines with it the last one counts.
    std::optional<QStringList> elements(const QString& key) const;
    /// Keys are letters and digits.
    void set(const QString& key, const QStringList& elements);
    void remove(const QString& key);

    QByteArray text() const;

private:
    struct Line {
        QByteArray text;
        QString key;              ///< empty for a line that is none of ours
        bool isInGeneral = false; ///< or is its head
    };

    QList<Line> lines_;
};

} // namespace velmoran
