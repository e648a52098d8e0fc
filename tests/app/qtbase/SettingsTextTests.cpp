#include "app/qtbase/SettingsText.h"

#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

/// Texts that mean something in such a file, or nearly so.
const QStringList texts = {
    {},
    QStringLiteral("plain"),
    QStringLiteral("a, b; c=d"),
    QStringLiteral(" blanks "),
    QStringLiteral("\"quoted\" \\ and \\x41"),
    QStringLiteral("line\nline\tend\r"),
    QString(QChar(u'\0')) + u'7',
    QString(QChar(0x1F)) + QStringLiteral("fee"),
    QStringLiteral("Grüße, 日本, 𝄞"),
    QStringLiteral("[General]"),
    QStringLiteral("@home"),
    QStringLiteral("@"),
    QStringLiteral("@@"),
    QStringLiteral("@String(x)"),
    QStringLiteral("@ByteArray(x)"),
    QStringLiteral("@Invalid()"),
    QChar(u'\0') + QStringLiteral("@)"),
    u'@' + QString(QChar(u'\0')),
};

QStringList elementsOf(const QStringList& all) {
    QStringList elements;
    for (const auto& each : all) {
        elements.append(SettingsText::elementOf(each));
    }
    return elements;
}

/// What is no text is "not a text".
QStringList textsIn(const std::optional<QStringList>& elements) {
    QStringList all;
    for (const auto& each : elements.value_or(QStringList())) {
        all.append(SettingsText::textIn(each).value_or(QStringLiteral("not a text")));
    }
    return all;
}

QStringList listed(const QVariant& value) {
    return value.toStringList();
}

TEST(SettingsText, IsReadByQtsOwnSettings) {
    const QTemporaryDir folder;
    const auto path = folder.filePath("a.conf");
    SettingsText text;
    text.set("all", elementsOf(texts));
    for (int i = 0; i < texts.size(); ++i) {
        text.set("key" + QString::number(i), elementsOf({texts[i]}));
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::WriteOnly));
    file.write(text.text());
    file.close();
    const QSettings theirs(path, QSettings::IniFormat);
    EXPECT_EQ(listed(theirs.value("all")), texts);
    for (int i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(theirs.value("key" + QString::number(i)).toString(), texts[i]) << i;
    }
}

TEST(SettingsText, ReadsWhatQtsOwnSettingsWrite) {
    const QTemporaryDir folder;
    const auto path = folder.filePath("a.conf");
    {
        QSettings theirs(path, QSettings::IniFormat);
        theirs.setValue("all", texts);
        theirs.setValue("other/all", "not this one");
        theirs.setValue("bytes", QByteArray("x"));
        theirs.setValue("nothing", QVariant());
        for (int i = 0; i < texts.size(); ++i) {
            theirs.setValue("key" + QString::number(i), texts[i]);
        }
    }
    QFile file(path);
    ASSERT_TRUE(file.open(QFile::ReadOnly));
    const SettingsText text(file.readAll());
    EXPECT_EQ(textsIn(text.elements("all")), texts);
    for (int i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(textsIn(text.elements("key" + QString::number(i))), QStringList(texts[i])) << i;
    }
    for (const auto* noText : {"bytes", "nothing"}) {
        EXPECT_EQ(textsIn(text.elements(noText)), QStringList("not a text")) << noText;
    }
    EXPECT_EQ(text.elements("none"), std::nullopt);
}

TEST(SettingsText, KeepsWhatIsNotChanged) {
    SettingsText text("; a remark\n[General]\na = 1 ; why\nb=2\n\n[Other]\na=3\n");
    EXPECT_EQ(text.elements("a"), QStringList("1"));
    text.set("a", {"4"});
    text.set("c", {"5", "6"});
    text.remove("b");
    EXPECT_EQ(text.elements("a"), QStringList("4"));
    EXPECT_EQ(text.elements("b"), std::nullopt);
    const auto written = text.text();
    EXPECT_TRUE(written.startsWith("; a remark\n[General]\n")) << written.toStdString();
    EXPECT_TRUE(written.endsWith("[Other]\na=3\n")) << written.toStdString();
    EXPECT_TRUE(written.contains("\nc=5, 6\n")) << written.toStdString();
    EXPECT_EQ(SettingsText(written).text(), written);
}

TEST(SettingsText, TakesTheLastOfTwoLines) {
    SettingsText text("[General]\na=1\na=2\n");
    EXPECT_EQ(text.elements("a"), QStringList("2"));
    text.set("a", {"3"});
    EXPECT_EQ(text.text(), "[General]\na=3\n");
}

TEST(SettingsText, BeginsWithItsSection) {
    SettingsText text;
    text.set("a", {"1"});
    EXPECT_EQ(text.text(), "[General]\na=1\n");
    SettingsText other("[Other]\nb=2\n");
    other.set("a", {"1"});
    EXPECT_EQ(other.text(), "[General]\na=1\n[Other]\nb=2\n");
}

} // namespace
} // namespace velmoran
