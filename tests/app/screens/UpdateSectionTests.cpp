#include "app/controls/ControlInput.h"
#include "app/screens/SettingsFixture.h"
#include "app/screens/UpdateSection.h"
#include "app/web/TestServer.h"
#include "support/Waiting.h"

#include <gtest/gtest.h>
#include <memory>

namespace velmoran {
namespace {

using ::velmoran::testing::button;
using ::velmoran::testing::says;
using ::velmoran::testing::TestServer;

struct UpdateSectionTest : ::testing::Test {
    UpdateSectionTest() {
        for (const char* name : {"http_proxy", "all_proxy", "HTTP_PROXY", "ALL_PROXY"}) {
            qunsetenv(name);
        }
    }

    int openings = 0;
    std::unique_ptr<UpdateSection> section;

    void show(const std::string& address, const std::string& running = "1.9") {
        section = std::make_unique<UpdateSection>(
            running,
            UpdateCheck::Facts{
                .address = address, .running = running, .program = QStringLiteral(VELMORAN_FETCH)},
            [this] { ++openings; }, nullptr);
        section->show();
    }

    QAbstractButton& check() const { return *button(*section, "Check for updates"); }

    void checkAndWait() {
        check().click();
        EXPECT_FALSE(check().isEnabled()) << "while it looks";
        EXPECT_TRUE(support::waitUntil([&] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
            return check().isEnabled();
        }));
    }

    static TestServer::Answer file(const QByteArray& body) {
        return [body](QTcpSocket& client, const QByteArray&) {
            client.write(TestServer::page(body));
        };
    }
};

TEST_F(UpdateSectionTest, AsksNobodyByItself) {
    const TestServer server(file(R"({"version":"1.10"})"));
    show(server.address());
    QCoreApplication::processEvents();
    EXPECT_TRUE(says(*section, "Version 1.9"));
    EXPECT_TRUE(says(*section, "Velmoran only looks for a new version when you ask."));
    EXPECT_FALSE(button(*section, "Open download page"));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(UpdateSectionTest, OffersTheDownloadOfANewerVersion) {
    const TestServer server(file(R"({"version":"1.10"})"));
    show(server.address());
    checkAndWait();
    EXPECT_TRUE(says(*section, "Version 1.10 is available."));
    EXPECT_TRUE(says(*section, "Download the new version and replace the old app with it."));
    ASSERT_TRUE(button(*section, "Open download page"));
    button(*section, "Open download page")->click();
    EXPECT_EQ(openings, 1);
}

TEST_F(UpdateSectionTest, SaysThatItIsTheNewest) {
    const TestServer server(file(R"({"version":"1.9.0"})"));
    show(server.address());
    checkAndWait();
    EXPECT_TRUE(says(*section, "You have the newest version."));
    EXPECT_FALSE(button(*section, "Open download page"));
}

TEST_F(UpdateSectionTest, ASecondPressOnItsKeyDoesNothing) {
    const TestServer server(file(R"({"version":"1.10"})"));
    show(server.address());
    checkAndWait();
    ASSERT_TRUE(button(*section, "Open download page")); // Qt would go on to it
    for (const int key : {Qt::Key_Return, Qt::Key_Space}) {
        check().setFocus();
        testing::press(*section->focusWidget(), key);
        ASSERT_FALSE(check().isEnabled());
        testing::press(*section->focusWidget(), key);
        EXPECT_EQ(openings, 0);
        EXPECT_TRUE(support::waitUntil([&] {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
            return check().isEnabled();
        }));
        EXPECT_EQ(section->focusWidget(), &check()) << "it is given back";
    }
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(UpdateSectionTest, ForgetsWhatItFoundWhenItFails) {
    auto server = std::make_unique<TestServer>(file(R"({"version":"1.10"})"));
    show(server->address());
    checkAndWait();
    ASSERT_TRUE(button(*section, "Open download page"));
    server.reset();
    checkAndWait();
    EXPECT_TRUE(says(*section, "The website couldn't be reached. Try again later."));
    EXPECT_FALSE(says(*section, "Version 1.10 is available."));
    EXPECT_FALSE(button(*section, "Open download page"));
}

TEST_F(UpdateSectionTest, MayGoWhileItLooks) {
    const TestServer server([](QTcpSocket&, const QByteArray&) {});
    show(server.address());
    check().click();
    EXPECT_TRUE(support::waitUntil([&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        return !server.requests().empty();
    }));
    section.reset();
    EXPECT_TRUE(support::waitUntil([&] {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
        return server.gone() == 1;
    }));
}

} // namespace
} // namespace velmoran
