// The icon and its panel on KDE's compositor. Its tray is part of its panel, so the watcher to
// which icons announce themselves is played.
#include "integration/desktops/WholeDesktop.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

using support::waitUntil;

constexpr const char* service = "org.kde.StatusNotifierWatcher";
constexpr const char* path = "/StatusNotifierWatcher";

class TrayOnKde : public ::testing::TestWithParam<bool> {
protected:
    TrayOnKde() : desktop_(startKWin(GetParam())) {
        auto& session = desktop_->session;
        session.start("watcher",
                      {"/usr/bin/python3", "-m", "dbusmock", "--session", service, path, service});
        EXPECT_TRUE(waitUntil([&] {
            return session.run({"gdbus", "introspect", "--session", "-d", service, "-o", path})
                .succeeded();
        }));
        call(service, path, "org.freedesktop.DBus.Mock.AddMethod",
             {"", "RegisterStatusNotifierItem", "s", "", ""});
        call(service, path, "org.freedesktop.DBus.Mock.AddProperty",
             {service, "IsStatusNotifierHostRegistered", "<true>"});
    }
    void call(const std::string& whom, const std::string& where, const std::string& method,
              const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"gdbus", "call", "--session", "-d",  whom,
                                         "-o",    where,  "-m",        method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto finished = desktop_->session.run(command);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    }
    /// The name under which the item has announced itself.
    std::string item() {
        const auto log = desktop_->session.child("watcher")->output();
        const auto begin = log.find('"', log.find("RegisterStatusNotifierItem"));
        return begin == std::string::npos
                   ? std::string()
                   : log.substr(begin + 1, log.find('"', begin + 1) - begin - 1);
    }

    std::unique_ptr<WholeDesktop> desktop_;
};

TEST_P(TrayOnKde, AClickOnTheIconOpensThePanelAndEscapeClosesIt) {
    AtADesktop person(*desktop_);
    person.startEditor();
    person.startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return !item().empty(); })) << person.log();
    person.expectTyped("a", "a");
    call(item(), "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", {"1200", "0"});
    ASSERT_TRUE(waitUntil([&] { return person.shapes().size() == 1; })) << person.log();
    const auto panel = person.shapes().front();
    EXPECT_GT(panel.right(), 1200);
    EXPECT_LT(panel.top(), 40);
    desktop_->hand({"key Escape"});
    EXPECT_TRUE(waitUntil([&] { return person.shapes().empty(); })) << person.log();
    person.expectTyped("ab", "b");
}

INSTANTIATE_TEST_SUITE_P(KWin, TrayOnKde, ::testing::Bool(), [](const auto& kind) {
    return kind.param ? std::string("WithX") : std::string("WithoutX");
});

} // namespace
} // namespace velmoran
