#include "app/web/UpdateCheck.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <QApplication>
#include <QFile>
#include <array>
#include <gtest/gtest.h>
#include <utility>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

/// Holds on to a process, also when it is killed: it stays in the system until the last `Hold` of
/// it has gone.
class Hold {
public:
    explicit Hold(pid_t held) {
        EXPECT_EQ(::pipe(holds_.data()), 0);
        EXPECT_EQ(::pipe(ends_.data()), 0);
        holder_ = ::fork();
        if (holder_ == 0) {
            ::close(ends_[1]);
            const char answer = ::ptrace(PTRACE_SEIZE, held, nullptr, nullptr) == 0 ? 'y' : 'n';
            char byte = 0;
            const bool told = ::write(holds_[1], &answer, 1) == 1;
            ::_exit(told && ::read(ends_[0], &byte, 1) == 0 ? 0 : 1);
        }
        char answer = 0;
        EXPECT_EQ(::read(holds_[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
    }
    ~Hold() {
        ::close(ends_[1]);
        ::waitpid(holder_, nullptr, 0);
        ::close(ends_[0]);
        ::close(holds_[0]);
        ::close(holds_[1]);
    }
    Hold(const Hold&) = delete;
    Hold& operator=(const Hold&) = delete;

private:
    std::array<int, 2> holds_{};
    std::array<int, 2> ends_{};
    pid_t holder_ = 0;
};

bool waitedForAProcess = false;

/// What Qt says when it begins to wait for a process that should have gone.
void noteWaiting(QtMsgType, const QMessageLogContext&, const QString& message) {
    waitedForAProcess |= message.startsWith(QStringLiteral("QProcess: Destroyed while"));
}

/// A program that asks, and can't be reached by its own end. Ends this process as `main` would.
void endTheProgramWhileAskingHangs(UpdateCheck::Facts facts, const QString& pidFile) {
    qInstallMessageHandler(noteWaiting);
    {
        UpdateCheck check(std::move(facts));
        check.check([](const auto&) {});
        pid_t asking = 0;
        EXPECT_TRUE(support::waitUntil([&] {
            QCoreApplication::processEvents();
            QFile file(pidFile);
            asking = file.open(QFile::ReadOnly) ? file.readAll().trimmed().toInt() : 0;
            return asking > 0;
        }));
        // For as long as this process: it is left out here what would let the other one go.
        static const auto* hold = new Hold(asking);
        EXPECT_NE(hold, nullptr);
    }
    qApp->~QApplication();
    ::_exit(::testing::Test::HasFailure() ? 2 : waitedForAProcess ? 1 : 0);
}

TEST(UpdateCheckEnd, TheProgramsEndWaitsForNoneThatAsks) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TemporaryDirectory folder;
    const auto pidFile = QString::fromStdString(folder.path()) + "/pid";
    const auto program = QString::fromStdString(folder.path()) + "/fetch";
    QFile script(program);
    ASSERT_TRUE(script.open(QFile::WriteOnly));
    script.write("#!/bin/sh\necho $$ > '" + pidFile.toUtf8() + "'\nexec tail -f /dev/null\n");
    script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    script.close();
    EXPECT_EXIT(
        endTheProgramWhileAskingHangs(
            {.address = "http://localhost/", .running = "1.9", .program = program}, pidFile),
        ::testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace velmoran
