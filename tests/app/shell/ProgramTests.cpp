// The program itself, started as a person starts it, on a screen that isn't there.
#include "app/shell/SingleInstance.h"
#include "support/TemporaryDirectory.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <unistd.h>

namespace velmoran {
namespace {

constexpr int patience = 30000;

struct Program : ::testing::Test {
    TemporaryDirectory home;
    QProcess process;

    void start(const QStringList& arguments) {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (const char* folder : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR"}) {
            environment.insert(QString::fromLatin1(folder), QString::fromStdString(home.path()));
        }
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("LC_ALL", "C.UTF-8");
        environment.insert("DBUS_SESSION_BUS_ADDRESS", "disabled:");
        process.setProcessEnvironment(environment);
        process.setReadChannel(QProcess::StandardError);
        process.start(QStringLiteral(VELMORAN), arguments);
        ASSERT_TRUE(process.waitForStarted(patience));
    }
    int status() {
        EXPECT_TRUE(process.waitForFinished(patience));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return process.exitCode();
    }
    /// Reads what it writes of its errors until this is among it.
    std::string said;
    bool saysUntil(const std::string& text) {
        while (said.find(text) == std::string::npos) {
            if (!process.waitForReadyRead(patience)) {
                return false;
            }
            said += errors();
        }
        return true;
    }
    std::string errors() { return process.readAllStandardError().toStdString(); }
    std::string output() { return process.readAllStandardOutput().toStdString(); }
};

TEST_F(Program, TellsItsVersion) {
    start({"--version"});
    EXPECT_EQ(status(), 0);
    EXPECT_EQ(output(), "Velmoran " VELMORAN_VERSION "\n");
}

TEST_F(Program, TellsItsOptions) {
    start({"--help"});
    EXPECT_EQ(status(), 0);
    EXPECT_NE(output().find("--demo"), std::string::npos);
}

TEST_F(Program, RefusesAnOptionThatItDoesNotKnow) {
    start({"--no-such-option"});
    EXPECT_NE(status(), 0);
    EXPECT_NE(errors().find("no-such-option"), std::string::npos);
}

TEST_F(Program, RefusesAFileWithoutDemo) {
    start({"recording.jsonl"});
    EXPECT_EQ(status(), 2);
    EXPECT_NE(errors().find("recording.jsonl"), std::string::npos);
}

TEST_F(Program, PlaysARecordingToItsEndAndTouchesNothing) {
    const TemporaryDirectory recordings;
    const auto file = recordings.write(
        "short.jsonl", "{\"at\": 0, \"snapshot\": {}}\n"
                       "{\"at\": 0.05, \"snapshot\": {\"microphoneOn\": true, \"microphoneApps\": "
                       "[{\"name\": \"Zoom\", \"path\": \"/opt/zoom\"}]}}\n"
                       "{\"at\": 0.1, \"press\": {\"notice\": \"Zoom turned on the microphone\", "
                       "\"button\": \"Trust this app\"}}\n");
    start({"--demo", QString::fromStdString(file)});
    EXPECT_EQ(status(), 0) << errors();
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(home.path())) {
        files += entry.path().string().find("elmoran") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(files, 0);
}

TEST_F(Program, ARecordingThatAsksForACardThatIsNotThereFails) {
    const TemporaryDirectory recordings;
    const auto file = recordings.write(
        "bad.jsonl", "{\"at\": 0, \"snapshot\": {}}\n"
                     "{\"at\": 0.05, \"press\": {\"notice\": \"Nobody\", \"button\": \"Stop\"}}\n");
    start({"--demo", QString::fromStdString(file)});
    EXPECT_NE(status(), 0);
    EXPECT_NE(errors().find("bad.jsonl:2:"), std::string::npos);
}

TEST_F(Program, ALineThatCannotBeReadIsNamed) {
    const TemporaryDirectory recordings;
    const auto file = recordings.write("bad.jsonl", "{\"at\": 0, \"snapshot\": {}}\nnonsense\n");
    start({"--demo", QString::fromStdString(file)});
    EXPECT_EQ(status(), 2);
    EXPECT_NE(errors().find("bad.jsonl:2:"), std::string::npos);
}

TEST_F(Program, SaysWhenTheRecordingCannotBeOpened) {
    start({"--demo", "/no/such/file"});
    EXPECT_EQ(status(), 2);
    EXPECT_NE(errors().find("/no/such/file"), std::string::npos);
}

TEST_F(Program, EndsCleanlyWhenItIsToldTo) {
    for (const int signal : {SIGTERM, SIGINT}) {
        const TemporaryDirectory recordings;
        const auto file = recordings.write("long.jsonl", "{\"at\": 0, \"snapshot\": {}}\n"
                                                         "{\"at\": 100, \"wait\": true}\n");
        start({"--demo", QString::fromStdString(file)});
        // Held back until the program can take it.
        ASSERT_EQ(::kill(static_cast<pid_t>(process.processId()), 0), 0);
        std::string mask;
        while (process.state() == QProcess::Running && mask.empty()) {
            QFile status(QStringLiteral("/proc/%1/status").arg(process.processId()));
            ASSERT_TRUE(status.open(QIODevice::ReadOnly));
            const auto text = status.readAll();
            const auto at = text.indexOf("SigBlk:\t") + 8;
            if (text.mid(at, 16).toULongLong(nullptr, 16) & (1ULL << (SIGTERM - 1))) {
                mask = text.mid(at, 16).toStdString();
            }
        }
        ::kill(static_cast<pid_t>(process.processId()), signal);
        EXPECT_EQ(status(), 0);
    }
}

TEST_F(Program, ASecondStartSaysThatThereIsOne) {
    start({});
    QProcess second;
    second.setProcessEnvironment(process.processEnvironment());
    // Until the first one has its place, each of them could get it.
    ASSERT_TRUE(saysUntil("there is no tray on this desktop"));
    second.start(QStringLiteral(VELMORAN), QStringList());
    ASSERT_TRUE(second.waitForFinished(patience));
    EXPECT_EQ(second.exitCode(), 0);
    EXPECT_EQ(second.readAllStandardError().toStdString(),
              "velmoran: it is running already, and shows itself now\n");
    process.terminate();
    EXPECT_EQ(status(), 0);
}

TEST_F(Program, RunsWhereAStrangerHasTakenItsPlace) {
    const auto before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(home.path()));
    const SingleInstance stranger("org.velmoran.Velmoran");
    qputenv("XDG_RUNTIME_DIR", before);
    ASSERT_EQ(stranger.role(), SingleInstance::Role::first);
    start({});
    const auto self = QFile::symLinkTarget(QStringLiteral("/proc/self/exe")).toStdString();
    ASSERT_TRUE(saysUntil("there is no tray on this desktop"));
    EXPECT_NE(said.find("velmoran: " + self + " (process " + std::to_string(::getpid()) +
                        ") has taken Velmoran's place and isn't Velmoran; this one runs all the "
                        "same\n"),
              std::string::npos)
        << said;
    process.terminate();
    EXPECT_EQ(status(), 0);
}

TEST_F(Program, SaysThatThereIsNoDisplay) {
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        environment.remove(QString::fromLatin1(name));
    }
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(VELMORAN), QStringList());
    EXPECT_EQ(status(), 1);
    EXPECT_NE(errors().find("no display"), std::string::npos);
}

} // namespace
} // namespace velmoran
