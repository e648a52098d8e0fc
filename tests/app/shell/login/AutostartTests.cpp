#include "app/shell/login/AutostartEntry.h"
#include "app/shell/login/AutostartText.h"
#include "support/TemporaryDirectory.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmoran {
namespace {

using ::testing::HasSubstr;

bool everything(const std::string&) {
    return true;
}

bool starts(const std::string& keys, const std::string& desktop = "GNOME") {
    return startsSomething("[Desktop Entry]\nType=Application\nExec=velmoran\n" + keys, desktop,
                           everything);
}

TEST(AutostartText, StartsTheProgram) {
    const auto text = autostartText("/usr/bin/velmoran", "--login-start");
    EXPECT_THAT(text, HasSubstr("\nExec=\"/usr/bin/velmoran\" --login-start\n"));
    std::string tried;
    EXPECT_TRUE(startsSomething(text, "KDE", [&](const std::string& program) {
        tried = program;
        return true;
    }));
    EXPECT_EQ(tried, "/usr/bin/velmoran");
}

TEST(AutostartText, QuotesAPathAsTheReaderTakesIt) {
    // A backslash for the command, and each of its own doubled for the value.
    const std::string path = "/home/me & you/50% \"a\"$b`c\\d/velmoran";
    const auto text = autostartText(path, "--login-start");
    EXPECT_THAT(text, HasSubstr("\nExec=\"/home/me & you/50%% \\\\\"a\\\\\"\\\\$b\\\\`c\\\\\\\\d/"
                                "velmoran\" --login-start\n"));
    std::string tried;
    EXPECT_TRUE(startsSomething(text, "KDE", [&](const std::string& program) {
        tried = program;
        return true;
    }));
    EXPECT_EQ(tried, path);
    const auto twoLines = autostartText("/a\nHidden=true\n/velmoran", "");
    EXPECT_TRUE(startsSomething(twoLines, "KDE", everything));
}

TEST(AutostartText, SaysTheTruthOfWhatOthersHaveWritten) {
    EXPECT_TRUE(starts(""));
    EXPECT_FALSE(starts("Hidden=true\n"));
    EXPECT_TRUE(starts("Hidden=false\n"));
    EXPECT_FALSE(starts("X-GNOME-Autostart-enabled=false\n"));
    EXPECT_TRUE(starts("  X-GNOME-Autostart-enabled = true  \r\n"));
    EXPECT_FALSE(starts("OnlyShowIn=XFCE;KDE;\n"));
    EXPECT_TRUE(starts("OnlyShowIn=XFCE;KDE;\n", "ubuntu:KDE"));
    EXPECT_FALSE(starts("NotShowIn=KDE\n", "KDE"));
    EXPECT_TRUE(starts("NotShowIn=KDE\n", "KDE-classic"));
    EXPECT_TRUE(starts("# Hidden=true\n[Desktop Action x]\nHidden=true\n"));
    EXPECT_TRUE(starts("Hidden=false\nHidden=true\n")) << "the first one counts";
    EXPECT_FALSE(startsSomething("[Desktop Entry]\nType=Link\nExec=velmoran\n", "", everything));
    EXPECT_FALSE(startsSomething("[Desktop Entry]\nType=Application\n", "", everything));
    EXPECT_FALSE(startsSomething("Exec=velmoran\n", "", everything));
    EXPECT_FALSE(startsSomething("", "", everything));
    EXPECT_FALSE(startsSomething(hiddenAutostartText(), "", everything));
    EXPECT_FALSE(startsSomething(autostartText("/gone/velmoran", ""), "",
                                 [](const std::string&) { return false; }));
}

struct Autostart : ::testing::Test {
    TemporaryDirectory folder;
    QString program = QCoreApplication::applicationFilePath();
    QByteArray before = qgetenv("XDG_CONFIG_HOME");
    QByteArray dirsBefore = qgetenv("XDG_CONFIG_DIRS");

    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", QByteArray::fromStdString(folder.path("mine")));
        qputenv("XDG_CONFIG_DIRS", QByteArray::fromStdString(folder.path("all")));
    }
    void TearDown() override {
        qputenv("XDG_CONFIG_HOME", before);
        qputenv("XDG_CONFIG_DIRS", dirsBefore);
    }
    AutostartEntry entry() const { return {program, QStringLiteral("--login-start")}; }
    std::string read() const {
        QFile file(entry().path());
        return file.open(QFile::ReadOnly) ? file.readAll().toStdString() : "";
    }
    void writeForAll(const std::string& text) {
        QDir().mkpath(QString::fromStdString(folder.path("all/autostart")));
        folder.write("all/autostart/org.velmoran.Velmoran.desktop", text);
    }
    void write(const std::string& text) {
        QDir().mkpath(QString::fromStdString(folder.path("mine/autostart")));
        folder.write("mine/autostart/org.velmoran.Velmoran.desktop", text);
    }
};

TEST_F(Autostart, IsOffUntilItIsSwitchedOn) {
    auto item = entry();
    EXPECT_EQ(item.path().toStdString(),
              folder.path("mine/autostart/org.velmoran.Velmoran.desktop"));
    EXPECT_FALSE(item.isOn());
    EXPECT_TRUE(item.set(true));
    EXPECT_TRUE(item.isOn());
    EXPECT_THAT(read(), HasSubstr("--login-start"));
    EXPECT_TRUE(item.set(false));
    EXPECT_FALSE(item.isOn());
    EXPECT_FALSE(QFile::exists(item.path()));
    EXPECT_TRUE(item.set(false)) << "it was off already";
}

TEST_F(Autostart, SeesWhatTheDesktopsOwnSettingsDid) {
    auto item = entry();
    ASSERT_TRUE(item.set(true));
    write(read() + "Hidden=true\n");
    EXPECT_FALSE(item.isOn());
    EXPECT_TRUE(item.set(true));
    EXPECT_TRUE(item.isOn());
    EXPECT_THAT(read(), ::testing::Not(HasSubstr("Hidden")));
}

TEST_F(Autostart, IsOffWhereTheProgramHasGone) {
    program = QString::fromStdString(folder.path("no/such/velmoran"));
    auto item = entry();
    EXPECT_FALSE(item.set(true)) << "it would start nothing";
    EXPECT_FALSE(item.isOn());
}

TEST_F(Autostart, GoesBeforeAnEntryForAllUsers) {
    writeForAll(autostartText(QFile::encodeName(program).toStdString(), ""));
    auto item = entry();
    EXPECT_TRUE(item.isOn());
    EXPECT_TRUE(item.set(false));
    EXPECT_FALSE(item.isOn());
    EXPECT_EQ(read(), hiddenAutostartText());
    EXPECT_TRUE(item.set(true));
    EXPECT_TRUE(item.isOn());
}

TEST_F(Autostart, AChangeThatIsRefusedIsSaidToBe) {
    // A file where the folder should be refuses root as well.
    folder.write("mine", "");
    auto item = entry();
    EXPECT_FALSE(item.set(true));
    EXPECT_FALSE(item.isOn());
}

TEST_F(Autostart, AnEntryThatCannotBeRemovedIsStillOn) {
    QDir().mkpath(QString::fromStdString(folder.path("mine/autostart")) +
                  QStringLiteral("/org.velmoran.Velmoran.desktop"));
    auto item = entry();
    EXPECT_FALSE(item.set(true)) << "a folder stands there";
    EXPECT_FALSE(item.isOn());
}

TEST_F(Autostart, NobodyHoldsItUpWithAPipe) {
    QDir().mkpath(QString::fromStdString(folder.path("mine/autostart")));
    ASSERT_EQ(::mkfifo(folder.path("mine/autostart/org.velmoran.Velmoran.desktop").c_str(), 0600),
              0);
    auto item = entry();
    EXPECT_FALSE(item.isOn());
    EXPECT_TRUE(item.set(true));
    EXPECT_TRUE(item.isOn());
}

TEST_F(Autostart, ALongFileIsNoEntry) {
    write(autostartText(QFile::encodeName(program).toStdString(), "") + '#' +
          std::string(200'000, 'x') + '\n');
    EXPECT_FALSE(entry().isOn());
}

} // namespace
} // namespace velmoran
