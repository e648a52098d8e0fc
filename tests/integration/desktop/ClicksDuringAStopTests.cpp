// A hand on the desktop while a program that ignores everything polite is being closed.
#include "app/shell/AppDelegate.h"
#include "integration/desktop/Desktop.h"
#include "support/AccessibleButton.h"
#include "support/RunningProgram.h"
#include "support/TemporaryDirectory.h"
#include "system/linux/closing/LinuxRunningApps.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <utility>

namespace velmoran {
namespace {

/// The program's own timers, but for the last of a closer's patience: that runs out when the test
/// lets it, however slow the machine.
class HeldBack final : public Scheduler {
public:
    explicit HeldBack(Scheduler& loop) : loop_(loop) {}

    void post(std::function<void()> action) override { loop_.post(std::move(action)); }
    Subscription after(Seconds delay, std::function<void()> action) override {
        if (++asked_ != AppCloser::politePolls) {
            return loop_.after(delay, std::move(action));
        }
        held_ = std::move(action);
        return Subscription([this] { held_ = nullptr; });
    }
    Subscription every(Seconds interval, std::function<void()> action) override {
        return loop_.every(interval, std::move(action));
    }

    bool isHolding() const { return held_ != nullptr; }
    void letGo() { std::exchange(held_, nullptr)(); }

private:
    Scheduler& loop_;
    int asked_ = 0;
    std::function<void()> held_;
};

class RealClosing final : public AppClosing {
public:
    RealClosing(const std::string& display, Scheduler& scheduler)
        : running_(processes_, display),
          closer_(running_, scheduler) {}

    void close(const AppIdentity& app, std::function<void(bool)> done) override {
        closer_.close(app, std::move(done));
    }

private:
    LinuxAppNames names_{LinuxPlaces::ofThisUser()};
    ProcessFinder processes_{names_};
    LinuxRunningApps running_;
    AppCloser closer_;
};

/// Reads what a test says and closes what really runs.
class ClosingMachine final : public Machine {
public:
    ClosingMachine(ScriptedMachine& paper, std::string display, Scheduler& patience)
        : paper_(paper),
          display_(std::move(display)),
          patience_(patience) {}

    Platform platform() const override { return paper_.platform(); }
    std::optional<std::string> ownBundleID() const override { return paper_.ownBundleID(); }
    SnapshotSource& snapshots() override { return paper_.snapshots(); }
    CodeSignatures& signatures() override { return paper_.signatures(); }
    OutputDevices& outputs() override { return paper_.outputs(); }
    Sounds& sounds() override { return paper_.sounds(); }
    Microphones& microphones() override { return paper_.microphones(); }
    Connections& connections() override { return paper_.connections(); }
    Sight& sight() override { return paper_.sight(); }
    AwayReadings& away() override { return paper_.away(); }
    ScreenLock& screenLock() override { return paper_.screenLock(); }
    std::unique_ptr<AppClosing> makeCloser(Scheduler&) override {
        return std::make_unique<RealClosing>(display_, patience_);
    }
    bool isProtected(const AppIdentity& app) override { return paper_.isProtected(app); }
    std::optional<SystemProcess> systemProcess(const AppIdentity& app) override {
        return paper_.systemProcess(app);
    }
    bool isBrowser(const AppIdentity& app) override { return paper_.isBrowser(app); }

private:
    ScriptedMachine& paper_;
    const std::string display_;
    Scheduler& patience_;
};

struct ClicksDuringAStop : testing::ModelFixture, OnADesktop {
    QtEventLoop loop;
    HeldBack patience{loop};
    ClosingMachine closing{machine, session.environment()["DISPLAY"], patience};
    TemporaryDirectory folder;
    std::string program;
    std::unique_ptr<RunningProgram> stubborn;
    std::unique_ptr<AppDelegate> delegate;

    void SetUp() override {
        program = folder.write("stubborn", "", true);
        std::filesystem::copy_file(HARD_TO_END, program,
                                   std::filesystem::copy_options::overwrite_existing);
        program = std::filesystem::canonical(program);
        const auto log = folder.path("log");
        stubborn = std::make_unique<RunningProgram>(
            program, std::vector<std::string>{program, log, "ignore"});
        ASSERT_TRUE(support::waitUntil([&] { return !support::readFile(log).empty(); }));

        settings.setBoolean("floatingStopButton", true);
        settings.setBoolean("standardNoticesStay", true);
        settings.setNumbers("floatingStopPlace", {900, 500});
        hand({"mousemove", "20", "780"});
        delegate = std::make_unique<AppDelegate>(ModelSurroundings{closing, loop, loop, settings,
                                                                   [this] {
                                                                       return store;
                                                                   }},
                                                 AppPicture(), AppDelegate::Outside{});
        delegate->didFinishLaunching({.isUnasked = true});
        delegate->model().receive({});
        delegate->model().receive(
            microphone({AppRef{.name = "stubborn", .bundleID = {}, .path = program}}));
        ASSERT_TRUE(eventually([&] { return button().panel() && button().panel()->isVisible(); }));
    }

    FloatingStopButton& button() { return *delegate->floatingStop(); }
    AppModel& app() { return delegate->model(); }
    void moveTo(QPoint place) {
        hand({"mousemove", std::to_string(place.x()), std::to_string(place.y())});
    }
    QPoint placeOfTheButton() { return button().panel()->frameGeometry().center(); }

    void pressTheButton() {
        moveTo(placeOfTheButton());
        hand({"click", "1"});
        ASSERT_TRUE(eventually([&] { return app().isStopping.get(); })) << session.logs();
    }
    /// Whatever has been done was done while the program was still to be closed.
    void expectStillStopping() {
        EXPECT_TRUE(app().isStopping.get());
        EXPECT_TRUE(stubborn->isRunning());
    }
    void letTheStopEnd() {
        ASSERT_TRUE(eventually([&] { return patience.isHolding(); }));
        expectStillStopping();
        patience.letGo();
        ASSERT_TRUE(eventually([&] { return !app().isStopping.get(); }));
        EXPECT_FALSE(stubborn->isRunning());
        ASSERT_FALSE(app().notices.items().empty());
        EXPECT_EQ(app().notices.items().back().title, "Microphone muted. stubborn was closed.");
    }
};

TEST_F(ClicksDuringAStop, CloseACard) {
    const auto& cards = delegate->statusItem()->noticePanel().panel();
    ASSERT_TRUE(eventually([&] { return cards.isVisible(); }));
    ASSERT_EQ(app().notices.items().size(), 1U);
    pressTheButton();
    ASSERT_EQ(app().notices.items().size(), 1U);
    moveTo(support::centerOf(*support::buttonNamed(cards, "Close")));
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] { return app().notices.items().empty(); }));
    expectStillStopping();
    letTheStopEnd();
}

TEST_F(ClicksDuringAStop, DragTheFloatingButton) {
    pressTheButton();
    const auto from = placeOfTheButton();
    moveTo(from);
    hand({"mousedown", "1"});
    for (int step = 1; step <= 5; ++step) {
        moveTo(from + QPoint(-40, 12) * step);
    }
    hand({"mouseup", "1"});
    EXPECT_TRUE(eventually([&] { return *app().settings.floatingStopPlace != Point{900, 500}; }));
    expectStillStopping();
    letTheStopEnd();
}

TEST_F(ClicksDuringAStop, GoToTheNewestNoticeFromTheMenu) {
    pressTheButton();
    delegate->statusItem()->dock();
    auto* menu = delegate->statusItem()->item()->contextMenu();
    menu->popup({100, 100});
    ASSERT_TRUE(eventually([&] { return menu->isVisible(); }));
    hand({"key", "Down", "Down", "Return"});
    const auto& cards = delegate->statusItem()->noticePanel().panel();
    EXPECT_TRUE(eventually([&] {
        return focused() == std::to_string(cards.internalWinId()) + "\n" && cards.isActiveWindow();
    })) << focused();
    hand({"key", "Escape"});
    expectStillStopping();
    letTheStopEnd();
}

TEST_F(ClicksDuringAStop, ChooseFromTheMenu) {
    pressTheButton();
    delegate->statusItem()->dock();
    auto* menu = delegate->statusItem()->item()->contextMenu();
    menu->popup({100, 100});
    ASSERT_TRUE(eventually([&] { return menu->isVisible(); }));
    auto* first = menu->actions().front();
    ASSERT_EQ(first->text(), QStringLiteral("Show Velmoran"));
    moveTo(menu->mapToGlobal(menu->actionGeometry(first).center()));
    hand({"click", "1"});
    EXPECT_TRUE(eventually([&] { return delegate->screens().windows().isAnyOpen(); }));
    expectStillStopping();
    letTheStopEnd();
}

} // namespace
} // namespace velmoran
