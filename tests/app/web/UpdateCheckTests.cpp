#include "app/web/UpdateCheck.h"

#include "app/web/TestServer.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QStandardPaths>
#include <QTimer>
#include <gtest/gtest.h>
#include <optional>

namespace velmoran {
namespace {

using ::velmoran::support::waitUntil;
using ::velmoran::testing::TestServer;
using Kind = UpdateCheck::Result::Kind;

constexpr Seconds soon = 0.3; ///< where the time must run out

bool servedUntil(const std::function<bool()>& condition) {
    return waitUntil([&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        return condition();
    });
}

TestServer::Answer always(const QByteArray& answer) {
    return [answer](QTcpSocket& client, const QByteArray&) {
        client.write(answer);
    };
}

class UpdateCheckTest : public ::testing::Test {
protected:
    UpdateCheckTest() {
        // Nobody stands between this test and its server.
        for (const char* name :
             {"http_proxy", "https_proxy", "all_proxy", "HTTP_PROXY", "HTTPS_PROXY", "ALL_PROXY"}) {
            qunsetenv(name);
        }
    }

    UpdateCheck::Facts facts(const std::string& address, const std::string& running) const {
        return {.address = address, .running = running, .program = program};
    }

    static std::optional<UpdateCheck::Result> resultOf(const UpdateCheck::Facts& facts) {
        std::optional<UpdateCheck::Result> result;
        UpdateCheck check(facts);
        check.check([&](const auto& found) { result = found; });
        EXPECT_FALSE(result) << "it comes later";
        EXPECT_TRUE(check.isChecking());
        EXPECT_TRUE(servedUntil([&] { return result.has_value(); }));
        EXPECT_FALSE(check.isChecking());
        return result;
    }

    std::optional<UpdateCheck::Result> against(TestServer::Answer answer,
                                               const std::string& running = "1.9") const {
        const TestServer server(std::move(answer));
        return resultOf(facts(server.address(), running));
    }

    std::optional<UpdateCheck::Result> file(const QByteArray& body,
                                            const std::string& running = "1.9") const {
        return against(always(TestServer::page(body)), running);
    }

    QString program = QStringLiteral(VELMORAN_FETCH);

    static inline const UpdateCheck::Result failed{Kind::failed};
    static inline const UpdateCheck::Result upToDate{Kind::upToDate};
    static UpdateCheck::Result newer(const std::string& version) { return {Kind::newer, version}; }
};

TEST_F(UpdateCheckTest, FindsANewerVersion) {
    EXPECT_EQ(file(R"({"version":"1.10"})"), newer("1.10"));
}

TEST_F(UpdateCheckTest, TakesTheSameVersionForTheNewest) {
    EXPECT_EQ(file(R"({"version":"1.10"})", "1.10.0"), upToDate);
}

TEST_F(UpdateCheckTest, OffersNoWayBack) {
    EXPECT_EQ(file(R"({"version":"1.8"})"), upToDate);
}

TEST_F(UpdateCheckTest, TakesAnEmptyRunningVersionForZero) {
    EXPECT_EQ(file(R"({"version":"0"})", ""), upToDate);
    EXPECT_EQ(file(R"({"version":"0.0.1"})", ""), newer("0.0.1"));
}

TEST_F(UpdateCheckTest, FailsOnAFileOfAnotherForm) {
    for (const char* body :
         {R"({"version":1.10})", R"({"release":"1.10"})", R"(["1.10"])", "<html>1.10</html>", ""}) {
        EXPECT_EQ(file(body), failed) << body;
    }
}

TEST_F(UpdateCheckTest, FailsOnEveryStatusButOne) {
    for (const char* status : {"404 Not Found", "500 Internal Server Error", "201 Created",
                               "206 Partial Content", "403 Forbidden", "401 Unauthorized"}) {
        EXPECT_EQ(against(always(TestServer::page(R"({"version":"1.10"})", status))), failed)
            << status;
    }
    EXPECT_EQ(against(always("HTTP/1.1 204 No Content\r\n\r\n")), failed);
}

TEST_F(UpdateCheckTest, FailsWhereNoServerIs) {
    std::string address;
    {
        const TestServer gone(always(""));
        address = gone.address();
    }
    EXPECT_EQ(resultOf(facts(address, "1.9")), failed);
}

TEST_F(UpdateCheckTest, FailsOnWhatIsNoWebServer) {
    EXPECT_EQ(against([](QTcpSocket& client, const QByteArray&) {
                  client.write("{\"version\":\"1.10\"}\r\n");
                  client.disconnectFromHost();
              }),
              failed);
}

TEST_F(UpdateCheckTest, FailsOnAnAnswerThatBreaksOff) {
    EXPECT_EQ(against([](QTcpSocket& client, const QByteArray&) {
                  client.write(
                      "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"version\":\"1.10\"}");
                  client.disconnectFromHost();
              }),
              failed);
}

TEST_F(UpdateCheckTest, AsksPlainlyAndOnce) {
    const TestServer server(
        always("HTTP/1.1 200 OK\r\nSet-Cookie: you=1\r\nCache-Control: "
               "max-age=9999\r\nContent-Length: 17\r\n\r\n{\"version\":\"1.8\"}"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(resultOf(facts(server.address(), "1.9")), upToDate);
    }
    ASSERT_EQ(server.requests().size(), 2U) << "each time anew";
    for (const auto& request : server.requests()) {
        EXPECT_TRUE(request.startsWith("GET /velmoran/version.json HTTP/1.1\r\n"));
        const auto fields = request.toLower(); // Qt 6.8 writes their names so
        EXPECT_FALSE(fields.contains("\r\ncookie"));
        EXPECT_FALSE(fields.contains("\r\nif-"));
        EXPECT_TRUE(fields.contains("\r\nuser-agent: velmoran\r\n"));
        EXPECT_FALSE(request.contains("1.9")) << "the server needn't know";
    }
}

TEST_F(UpdateCheckTest, FollowsARedirect) {
    EXPECT_EQ(against([](QTcpSocket& client, const QByteArray& path) {
                  client.write(path == "/there" ? TestServer::page(R"({"version":"1.10"})")
                                                : "HTTP/1.1 302 Found\r\nLocation: "
                                                  "/there\r\nContent-Length: 0\r\n\r\n");
              }),
              newer("1.10"));
}

TEST_F(UpdateCheckTest, FailsOnRedirectsInACircle) {
    EXPECT_EQ(against(always("HTTP/1.1 302 Found\r\nLocation: "
                             "/velmoran/version.json\r\nContent-Length: 0\r\n\r\n")),
              failed);
}

TEST_F(UpdateCheckTest, IsRedirectedToNoFile) {
    const TemporaryDirectory folder;
    const auto path = QString::fromStdString(folder.path()) + "/version.json";
    QFile local(path);
    ASSERT_TRUE(local.open(QFile::WriteOnly));
    local.write(R"({"version":"1.10"})");
    local.close();
    EXPECT_EQ(against(always("HTTP/1.1 302 Found\r\nLocation: file://" + path.toUtf8() +
                             "\r\nContent-Length: 0\r\n\r\n")),
              failed);
    EXPECT_EQ(resultOf(facts("file://" + path.toStdString(), "1.9")), failed);
}

TEST_F(UpdateCheckTest, GivesUpASlowServer) {
    for (const QByteArray begin : {"", "HTTP/1.1 200 OK\r\nContent-Length: 17\r\n\r\n{\"ver"}) {
        const TestServer server(always(begin));
        auto slow = facts(server.address(), "1.9");
        slow.within = soon;
        EXPECT_EQ(resultOf(slow), failed);
        EXPECT_TRUE(servedUntil([&] { return server.gone() > 0 || server.requests().empty(); }));
    }
}

TEST_F(UpdateCheckTest, GivesUpABodyThatDripsWithoutEnd) {
    QTimer drip;
    const TestServer server([&](QTcpSocket& client, const QByteArray&) {
        client.write("HTTP/1.1 200 OK\r\n\r\n{");
        QObject::connect(&drip, &QTimer::timeout, &client, [&client] { client.write(" "); });
        drip.start(5);
    });
    auto slow = facts(server.address(), "1.9");
    slow.within = soon;
    EXPECT_EQ(resultOf(slow), failed);
}

/// Writes as long as somebody reads, and counts.
TestServer::Answer flood(const QByteArray& head, qint64 most, qint64& written) {
    return [=, &written](QTcpSocket& client, const QByteArray&) {
        const auto more = [&client, most, &written] {
            constexpr qint64 piece = 32LL * 1024;
            if (written < most && client.bytesToWrite() < piece) {
                written += client.write(QByteArray(piece, ' '));
            }
        };
        QObject::connect(&client, &QTcpSocket::bytesWritten, &client, more);
        client.write(head);
    };
}

TEST_F(UpdateCheckTest, ReadsNoMoreOfAHugeFileThanAVersionNeeds) {
    constexpr qint64 size = 100LL * 1024 * 1024;
    for (const QByteArray& head : {QByteArray("HTTP/1.1 200 OK\r\nContent-Length: ") +
                                       QByteArray::number(size) + "\r\n\r\n{\"version\":\"1.10\"}",
                                   QByteArray("HTTP/1.1 200 OK\r\n\r\n{\"version\":\"1.10\"}")}) {
        qint64 written = 0;
        EXPECT_EQ(against(flood(head, size, written)), failed);
        // What the kernel holds between the two is written without being read.
        EXPECT_LT(written, size / 4);
    }
}

TEST_F(UpdateCheckTest, ReadsAFileThatIsJustShortEnough) {
    const QByteArray body(R"({"version":"1.10"})");
    constexpr qsizetype most = 64LL * 1024;
    EXPECT_EQ(file(body + QByteArray(most - body.size(), ' ')), newer("1.10"));
    EXPECT_EQ(file(body + QByteArray(most - body.size() + 1, ' ')), failed);
}

TEST_F(UpdateCheckTest, GivesNoAnswerAfterItHasGone) {
    const TestServer server(always(""));
    bool answered = false;
    {
        UpdateCheck check(facts(server.address(), "1.9"));
        check.check([&](const auto&) { answered = true; });
        ASSERT_TRUE(servedUntil([&] { return !server.requests().empty(); }));
    }
    EXPECT_TRUE(servedUntil([&] { return server.gone() == 1; }));
    EXPECT_FALSE(answered);
}

TEST_F(UpdateCheckTest, AsksOneQuestionAtATime) {
    const TestServer server(always(TestServer::page(R"({"version":"1.10"})")));
    UpdateCheck check(facts(server.address(), "1.9"));
    int answers = 0;
    check.check([&](const auto&) { ++answers; });
    check.check([&](const auto&) { ADD_FAILURE() << "it was being asked already"; });
    ASSERT_TRUE(servedUntil([&] { return !check.isChecking(); }));
    EXPECT_EQ(answers, 1);
    check.check([&](const auto&) { ++answers; });
    ASSERT_TRUE(servedUntil([&] { return !check.isChecking(); }));
    EXPECT_EQ(answers, 2);
}

TEST_F(UpdateCheckTest, FailsWithoutTheProgramThatAsks) {
    program = QStringLiteral("/nowhere/velmoran-fetch");
    EXPECT_EQ(file(R"({"version":"1.10"})"), failed);
}

TEST_F(UpdateCheckTest, TheProgramThatAsksStandsBesideTheOneThatIsBuilt) {
    const QString beside = QFileInfo(QStringLiteral(VELMORAN_FETCH)).path();
    EXPECT_EQ(beside, QFileInfo(QStringLiteral(VELMORAN)).path());
}

/// With a certificate for a name of its own, which no system trusts.
class SecureUpdateCheckTest : public UpdateCheckTest {
protected:
    void SetUp() override {
        const auto tool = QStandardPaths::findExecutable(QStringLiteral("openssl"));
        if (tool.isEmpty()) {
            GTEST_SKIP() << "openssl isn't installed";
        }
        tool_ = tool;
    }

    std::unique_ptr<TestServer>
    serve(const QString& name,
          TestServer::Answer answer = always(TestServer::page(R"({"version":"1.10"})"))) {
        QProcess make;
        make.start(tool_, {"req", "-x509", "-newkey", "ec", "-pkeyopt",
                           "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj",
                           "/CN=" + name, "-addext", "subjectAltName=DNS:" + name, "-keyout",
                           path("key.pem"), "-out", path("certificate.pem")});
        EXPECT_TRUE(make.waitForFinished());
        EXPECT_EQ(make.exitCode(), 0) << make.readAllStandardError().toStdString();
        QFile key(path("key.pem"));
        EXPECT_TRUE(key.open(QFile::ReadOnly));
        auto configuration = QSslConfiguration::defaultConfiguration();
        configuration.setPrivateKey(QSslKey(&key, QSsl::Ec));
        configuration.setLocalCertificateChain(QSslCertificate::fromPath(path("certificate.pem")));
        auto* server = new QSslServer;
        server->setSslConfiguration(configuration);
        return std::make_unique<TestServer>(std::move(answer), server);
    }

    /// From now on the certificate is one of those that are trusted.
    void trust() {
        QFile script(path("fetch"));
        ASSERT_TRUE(script.open(QFile::WriteOnly));
        script.write("#!/bin/sh\nexec '" VELMORAN_FETCH "' \"$1\" '" +
                     path("certificate.pem").toUtf8() + "'\n");
        script.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        program = script.fileName();
    }

    QString path(const char* name) const {
        return QString::fromStdString(folder_.path()) + '/' + name;
    }

private:
    TemporaryDirectory folder_;
    QString tool_;
};

TEST_F(SecureUpdateCheckTest, BelievesAServerThatIsTrusted) {
    const auto server = serve("localhost");
    trust();
    EXPECT_EQ(resultOf(facts(server->address("https"), "1.9")), newer("1.10"));
}

TEST_F(SecureUpdateCheckTest, FailsOnACertificateThatNobodyVouchesFor) {
    const auto server = serve("localhost");
    EXPECT_EQ(resultOf(facts(server->address("https"), "1.9")), failed);
}

TEST_F(SecureUpdateCheckTest, FailsOnACertificateForAnotherName) {
    const auto server = serve("elsewhere.example");
    trust();
    EXPECT_EQ(resultOf(facts(server->address("https"), "1.9")), failed);
}

TEST_F(SecureUpdateCheckTest, FailsOnAServerThatSpeaksNoTLS) {
    QTcpServer server;
    ASSERT_TRUE(server.listen(QHostAddress::LocalHost));
    QObject::connect(&server, &QTcpServer::newConnection, &server, [&] {
        server.nextPendingConnection()->write(TestServer::page(R"({"version":"1.10"})"));
    });
    EXPECT_EQ(resultOf(facts("https://localhost:" + std::to_string(server.serverPort()), "1.9")),
              failed);
}

TEST_F(SecureUpdateCheckTest, IsLedToNoServerThatIsLessSafe) {
    const TestServer plain(always(TestServer::page(R"({"version":"1.10"})")));
    const auto server = serve("localhost", always("HTTP/1.1 302 Found\r\nLocation: " +
                                                  QByteArray::fromStdString(plain.address()) +
                                                  "\r\nContent-Length: 0\r\n\r\n"));
    trust();
    EXPECT_EQ(resultOf(facts(server->address("https"), "1.9")), failed);
    EXPECT_TRUE(plain.requests().empty());
}

} // namespace
} // namespace velmoran
