// Without X11 and without a desktop portal. What the keys do is tested on a desktop.
#include "app/model/ModelFixture.h"
#include "app/shell/AppDelegate.h"
#include "app/shell/shortcut/StopShortcut.h"

namespace velmoran {
namespace {

TEST(StopShortcut, SwitchingOffAlwaysWorks) {
    StopShortcut shortcut;
    EXPECT_TRUE(shortcut.set(false, [] {}));
    EXPECT_TRUE(shortcut.set(false, nullptr));
}

TEST(StopShortcut, CannotBeHadWhereNobodyGivesKeys) {
    StopShortcut shortcut;
    EXPECT_FALSE(shortcut.set(true, [] {}));
    EXPECT_TRUE(shortcut.set(false, [] {}));
}

struct ShortcutChoice : testing::ModelFixture {
    std::unique_ptr<AppDelegate> delegate;

    bool unavailable() { return *delegate->model().stopShortcutUnavailable; }
    void start() {
        delegate = std::make_unique<AppDelegate>(ModelSurroundings{machine, time, time, settings,
                                                                   [this] {
                                                                       return store;
                                                                   }},
                                                 AppPicture(), AppDelegate::Outside{});
        delegate->didFinishLaunching({.isUnasked = true});
    }
};

TEST_F(ShortcutChoice, OffIsNotUnavailable) {
    start();
    EXPECT_FALSE(unavailable());
}

TEST_F(ShortcutChoice, ARefusalIsTold) {
    settings.setBoolean("stopShortcutOn", true);
    start();
    EXPECT_TRUE(unavailable());
}

TEST_F(ShortcutChoice, EachChangeIsFollowed) {
    start();
    delegate->model().settings.stopShortcutOn.set(true);
    EXPECT_TRUE(unavailable());
    delegate->model().settings.stopShortcutOn.set(false);
    EXPECT_FALSE(unavailable());
}

} // namespace
} // namespace velmoran
