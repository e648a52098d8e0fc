#include "app/shell/cards/NoticePanelController.h"
#include "core/text/Localizer.h"
#include "support/AccessibleButton.h"
#include "system/scripted/ScriptedTime.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using support::buttonNamed;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

NoticeItem item(const std::string& title) {
    NoticeItem result;
    result.id = Uuid::random();
    result.title = title;
    result.timeText = "Just now";
    return result;
}

AppIdentity zoom() {
    return {.id = "us.zoom",
            .name = "Zoom",
            .bundleID = "us.zoom",
            .path = "/opt/zoom/zoom",
            .teamID = std::nullopt};
}

NoticeItem cardOf(const AppIdentity& app) {
    auto card = item(app.name + " turned on the camera");
    card.appPath = app.path;
    card.app = app;
    return card;
}

struct EmptyIcon final : QIconEngine {
    void paint(QPainter*, const QRect&, QIcon::Mode, QIcon::State) override {}
    QIconEngine* clone() const override { return new EmptyIcon; }
    QPixmap pixmap(const QSize&, QIcon::Mode, QIcon::State) override { return {}; }
};

NoticeButton button(
    const std::string& title, bool prominent = false, std::function<void()> action = [] {}) {
    NoticeButton result;
    result.title = title;
    result.prominent = prominent;
    result.action = std::move(action);
    return result;
}

struct NoticePanelTest : ::testing::Test {
    ScriptedTime time;
    NoticeCenter notices{time};
    std::optional<QRect> anchor = QRect(400, 0, 24, 24);
    std::vector<AppIdentity> picturesAskedFor;
    QIcon picture;
    NoticePanelController controller{notices, [this] { return anchor; },
                                     [this](const AppIdentity& app) {
                                         picturesAskedFor.push_back(app);
                                         return picture;
                                     }};

    /// Cards that were replaced go once the event loop runs.
    void deletePending() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }

    std::vector<QWidget*> cards() {
        deletePending();
        const auto found = controller.panel().findChildren<QWidget*>(QStringLiteral("notice"));
        return {found.begin(), found.end()};
    }

    /// What somebody who has the card read aloud hears, in its order.
    static void collect(QAccessibleInterface* of, std::vector<std::string>& names) {
        for (int i = 0; i < of->childCount(); ++i) {
            auto* child = of->child(i);
            names.push_back(child->text(QAccessible::Name).toStdString());
            collect(child, names);
        }
    }
    static std::vector<std::string> spoken(QWidget* card) {
        std::vector<std::string> names;
        collect(QAccessible::queryAccessibleInterface(card), names);
        return names;
    }
    std::vector<std::string> titles() {
        std::vector<std::string> result;
        for (auto* card : cards()) {
            result.push_back(card->accessibleName().toStdString());
        }
        return result;
    }
};

TEST_F(NoticePanelTest, IsNotOnTheScreenBeforeTheFirstCard) {
    EXPECT_FALSE(controller.panel().isVisible());
}

TEST_F(NoticePanelTest, ShowsTitleMessageTimeAndButtonsInTheirOrder) {
    auto card = item("Zoom turned on the camera");
    card.message = "We couldn't tell which app it is.";
    card.buttons = {button("Stop", true), button("This was me")};
    notices.show(card);
    ASSERT_TRUE(controller.panel().isVisible());
    ASSERT_EQ(cards().size(), 1U);
    EXPECT_THAT(spoken(cards().front()),
                ElementsAre("Zoom turned on the camera", "We couldn't tell which app it is.",
                            "Just now", "Stop", "This was me", "Close"));
}

TEST_F(NoticePanelTest, ShowsNoButtonsWhereThereAreNone) {
    notices.show(item("Microphone muted."));
    EXPECT_THAT(spoken(cards().front()), ElementsAre("Microphone muted.", "Just now", "Close"));
}

TEST_F(NoticePanelTest, OnlyTheDefaultButtonIsProminent) {
    auto card = item("Zoom turned on the camera");
    card.buttons = {button("Stop", true), button("This was me")};
    notices.show(card);
    EXPECT_TRUE(buttonNamed(*cards().front(), "Stop")->property("prominent").toBool());
    EXPECT_FALSE(buttonNamed(*cards().front(), "This was me")->property("prominent").toBool());
    const auto face = [&](const char* name) {
        const auto image = buttonNamed(*cards().front(), name)->grab().toImage();
        return image.pixelColor(6, image.height() / 2);
    };
    EXPECT_EQ(face("Stop"), controller.panel().palette().color(QPalette::Highlight));
    EXPECT_NE(face("This was me"), face("Stop"));
}

TEST_F(NoticePanelTest, AClickRunsTheButtonsActionOnce) {
    int stops = 0;
    int trusts = 0;
    auto card = item("Zoom turned on the camera");
    card.buttons = {button("Stop", false,
                           [&] {
                               ++stops;
                               notices.dismiss(card.id);
                           }),
                    button("Trust this app", false, [&] { ++trusts; })};
    notices.show(card);
    buttonNamed(*cards().front(), "Stop")->click();
    EXPECT_EQ(stops, 1);
    EXPECT_EQ(trusts, 0);
    EXPECT_FALSE(controller.panel().isVisible());
}

TEST_F(NoticePanelTest, TheCrossClosesItsOwnCard) {
    bool closed = false;
    auto first = item("First");
    first.onClose = [&] {
        closed = true;
    };
    notices.show(first);
    notices.show(item("Second"));
    buttonNamed(*cards().front(), "Close")->click();
    EXPECT_TRUE(closed);
    EXPECT_THAT(titles(), ElementsAre("Second"));
}

TEST_F(NoticePanelTest, StacksCardsOldestFirstWithEightPointsBetween) {
    notices.show(item("First"));
    notices.show(item("Second"));
    notices.show(item("Third"));
    EXPECT_THAT(titles(), ElementsAre("First", "Second", "Third"));
    const auto shown = cards();
    EXPECT_EQ(shown[0]->geometry().topLeft(), QPoint(12, 12));
    EXPECT_EQ(shown[1]->y(), shown[0]->y() + shown[0]->height() + 8);
    EXPECT_EQ(shown[2]->y(), shown[1]->y() + shown[1]->height() + 8);
    EXPECT_EQ(controller.panel().width(), 368);
    EXPECT_EQ(controller.panel().height(), shown[2]->y() + shown[2]->height() + 12);
}

TEST_F(NoticePanelTest, ACardShownAgainChangesInItsPlace) {
    auto first = item("Zoom turned on the camera");
    notices.show(first);
    notices.show(item("Second"));
    first.title = "Zoom turned on the camera and microphone";
    notices.show(first);
    EXPECT_THAT(titles(), ElementsAre("Zoom turned on the camera and microphone", "Second"));
    EXPECT_TRUE(controller.panel().isVisible());
}

TEST_F(NoticePanelTest, DismissingTheLastCardTakesThePanelAway) {
    const auto first = item("First");
    const auto second = item("Second");
    notices.show(first);
    notices.show(second);
    notices.dismiss(first.id);
    EXPECT_TRUE(controller.panel().isVisible());
    notices.dismiss(second.id);
    EXPECT_FALSE(controller.panel().isVisible());
    notices.show(item("Third"));
    EXPECT_TRUE(controller.panel().isVisible());
    EXPECT_THAT(titles(), ElementsAre("Third"));
}

TEST_F(NoticePanelTest, StandsUnderTheStatusItem) {
    notices.show(item("First"));
    EXPECT_EQ(controller.panel().pos(), QPoint(400 + 12 - 184, 26));
}

TEST_F(NoticePanelTest, StandsNearTheTopRightWithoutAStatusItem) {
    anchor.reset();
    notices.show(item("First"));
    const auto screen = controller.panel().screen()->availableGeometry();
    EXPECT_EQ(controller.panel().pos(), QPoint(screen.width() - 368 - 4, 2));
}

TEST_F(NoticePanelTest, NeverTakesTheFocus) {
    notices.show(item("First"));
    const auto& panel = controller.panel();
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_TRUE(panel.windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(panel.testAttribute(Qt::WA_ShowWithoutActivating));
    EXPECT_FALSE(panel.isActiveWindow());
    for (auto* each : panel.findChildren<QAbstractButton*>()) {
        EXPECT_EQ(each->focusPolicy(), Qt::TabFocus) << "a click gives none";
    }
}

TEST_F(NoticePanelTest, AsksForThePictureOfTheApp) {
    notices.show(cardOf(zoom()));
    EXPECT_THAT(picturesAskedFor, ElementsAre(zoom()));
}

TEST_F(NoticePanelTest, ShowsThePictureOfTheAppOrElseATileWithItsLetter) {
    const auto shown = [&] {
        const auto card = cardOf(zoom());
        notices.show(card);
        const auto image = cards().back()->grab(QRect(12, 12, 32, 32)).toImage();
        notices.dismiss(card.id);
        return image;
    };
    const auto generic = shown();
    QPixmap green(32, 32);
    green.fill(Qt::green);
    picture = QIcon(green);
    const auto drawn = shown();
    EXPECT_EQ(drawn.pixelColor(0, 0), QColor(Qt::green));
    EXPECT_EQ(drawn.pixelColor(31, 31), QColor(Qt::green));
    EXPECT_NE(generic.pixelColor(31, 31), QColor(Qt::green));
    // An icon that isn't null and yet has nothing to draw.
    picture = QIcon(new EmptyIcon);
    ASSERT_FALSE(picture.isNull());
    EXPECT_EQ(shown(), generic);
}

TEST_F(NoticePanelTest, ShowsTheSymbolOfAnAppWhereNobodySaysWhichItIs) {
    auto card = cardOf(zoom());
    card.app.reset();
    notices.show(card);
    EXPECT_THAT(picturesAskedFor, IsEmpty());
    EXPECT_GE(cards().front()->findChildren<QLabel*>().front()->x(), 12 + 32);
}

TEST_F(NoticePanelTest, AsksForNoPictureWhereThereIsNoApp) {
    auto card = item("Microphone muted.");
    card.symbol = "checkmark.circle";
    notices.show(card);
    EXPECT_THAT(picturesAskedFor, IsEmpty());
}

TEST_F(NoticePanelTest, HasNoPictureWhereThereIsNeitherAnAppNorASymbol) {
    const auto titleStart = [&](std::optional<std::string> symbol) {
        auto card = item("Unknown app turned on the camera");
        card.symbol = std::move(symbol);
        card.isStrong = true;
        notices.show(card);
        const auto start = cards().back()->findChildren<QLabel*>().front()->x();
        notices.dismiss(card.id);
        return start;
    };
    EXPECT_EQ(titleStart(std::nullopt), 12);
    EXPECT_GE(titleStart("exclamationmark.circle"), 12 + 32);
}

TEST_F(NoticePanelTest, TheSymbolOfAStrongCardIsRed) {
    const auto red = [&](bool strong) {
        auto card = item("Something");
        card.symbol = "exclamationmark.circle";
        card.isStrong = strong;
        notices.show(card);
        const auto image = cards().back()->grab(QRect(12, 12, 32, 32)).toImage();
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const auto color = image.pixelColor(x, y);
                count += color.red() > color.green() + 100 && color.red() > color.blue() + 100;
            }
        }
        notices.dismiss(card.id);
        return count;
    };
    EXPECT_GT(red(true), 60);
    EXPECT_EQ(red(false), 0);
}

TEST_F(NoticePanelTest, ANameCannotFillTheScreenOrWriteASecondTitle) {
    notices.show(item(std::string(5000, 'm') + "\nSystem: all is well turned on the camera"));
    EXPECT_LT(cards().front()->height(), 150);
    EXPECT_EQ(cards().front()->accessibleName().count('\n'), 0);
}

TEST_F(NoticePanelTest, LongButtonsGoToARowOfTheirOwn) {
    auto card = item("Something");
    card.buttons = {button(std::string(22, 'm')), button(std::string(22, 'n'))};
    notices.show(card);
    auto* first = buttonNamed(*cards().front(), std::string(22, 'm'));
    auto* second = buttonNamed(*cards().front(), std::string(22, 'n'));
    EXPECT_EQ(second->x(), first->x());
    EXPECT_EQ(second->y(), first->geometry().bottom() + 1 + 8);
    EXPECT_TRUE(cards().front()->rect().contains(second->geometry()));
}

TEST_F(NoticePanelTest, AGoneControllerIsToldNothing) {
    NoticeCenter other(time);
    int asked = 0;
    {
        const NoticePanelController gone(other,
                                         [&] {
                                             ++asked;
                                             return std::nullopt;
                                         },
                                         {});
        other.show(item("First"));
        EXPECT_EQ(asked, 1);
    }
    other.show(item("Second"));
    EXPECT_EQ(asked, 1);
}

TEST_F(NoticePanelTest, LeavesOutTheOldestCardsWhereThereIsNoRoomForAll) {
    auto strong = item("strong");
    strong.isStrong = true;
    notices.show(strong);
    for (int number = 1; number <= 40; ++number) {
        notices.show(item("card " + std::to_string(number)));
    }
    const auto shown = cards().size();
    ASSERT_GT(shown, 2U);
    ASSERT_LT(shown, 41U);
    const auto visible = QGuiApplication::primaryScreen()->availableGeometry();
    EXPECT_LE(controller.panel().geometry().bottom(), visible.bottom());
    const auto read = titles();
    EXPECT_THAT(read, ::testing::Contains("strong"));
    EXPECT_THAT(read, ::testing::Contains("card 40"));
    EXPECT_THAT(read, ::testing::Not(::testing::Contains("card 1")));
    // Room that becomes free is taken.
    for (int number = 0; number < 30; ++number) {
        notices.close(notices.items().back().id);
    }
    EXPECT_THAT(titles(), ::testing::Contains("card 10"));
}

TEST_F(NoticePanelTest, ALesserCardNeverTakesTheRoomOfAStrongOne) {
    const auto strong = [](const std::string& title) {
        auto card = item(title);
        card.isStrong = true;
        return card;
    };
    auto tall = strong("tall and strong");
    tall.message = std::string(300, 'm');
    const std::vector<NoticeItem> items{item("old"), tall, item("middle"), strong("strong"),
                                        item("newest")};
    const auto read = [&](int room) {
        std::vector<std::string> result;
        const NoticeStackView stack(items, {}, {}, room);
        for (const auto* card : stack.findChildren<QWidget*>(QStringLiteral("notice"))) {
            result.push_back(card->accessibleName().toStdString());
        }
        return result;
    };
    const NoticeStackView small({items[3], items[4]}, {}, {}, 10000);
    const NoticeStackView larger({items[2], items[3], items[4]}, {}, {}, 10000);
    const NoticeStackView large({items[1], items[3], items[4]}, {}, {}, 10000);
    ASSERT_LT(larger.height(), large.height());
    EXPECT_THAT(read(0), ElementsAre("newest"));
    EXPECT_THAT(read(small.height()), ElementsAre("strong", "newest"));
    // Room for a lesser one, but not for the strong one.
    EXPECT_THAT(read(larger.height()), ElementsAre("strong", "newest"));
    EXPECT_THAT(read(large.height()), ElementsAre("tall and strong", "strong", "newest"));
    EXPECT_THAT(read(10000), ElementsAre("old", "tall and strong", "middle", "strong", "newest"));
}

TEST_F(NoticePanelTest, ShowsTheCardsOfOneAppAsOne) {
    int stops = 0;
    for (int number = 1; number <= 40; ++number) {
        auto card = cardOf(zoom());
        card.buttons = {button("Stop", false, [this, &stops, id = card.id] {
            ++stops;
            notices.dismiss(id);
        })};
        notices.show(card);
        notices.show(item("card " + std::to_string(number % 2)));
        notices.dismiss(notices.items()[notices.items().size() - 1].id);
    }
    ASSERT_EQ(cards().size(), 1U);
    EXPECT_THAT(spoken(cards().front()),
                ElementsAre("Zoom turned on the camera", "Just now · 40 times", "Stop", "Close"));
    buttonNamed(*cards().front(), "Stop")->click();
    EXPECT_EQ(stops, 40);
    EXPECT_FALSE(controller.panel().isVisible());
}

TEST_F(NoticePanelTest, SaysTheTimeOfACardThatHasStoodForAMinute) {
    notices.show(cardOf(zoom()));
    const auto hour = words().shortTime(time.now());
    time.advanceBy(60);
    EXPECT_THAT(spoken(cards().front()), ElementsAre("Zoom turned on the camera", hour, "Close"));
}

TEST_F(NoticePanelTest, ShowsWhatCameOfTheLastStopBehindAnyPile) {
    auto result = item("Nothing could be stopped.");
    result.isStopResult = true;
    notices.show(item("before"));
    notices.show(result);
    for (int number = 1; number <= 40; ++number) {
        auto strong = item("strong " + std::to_string(number));
        strong.isStrong = true;
        notices.show(strong);
        EXPECT_EQ(titles().back(), strong.title);
        EXPECT_THAT(titles(), ::testing::Contains("Nothing could be stopped.")) << number;
    }
    EXPECT_LT(cards().size(), 42U);
}

TEST_F(NoticePanelTest, NeitherHidesAnOpenPanelNorIsHiddenByIt) {
    const auto visible = QGuiApplication::primaryScreen()->availableGeometry();
    anchor = QRect(visible.right() - 60, visible.y(), 24, 24);
    QRect open(visible.right() - 330, visible.y() + 26, 320, visible.height() - 30);
    controller.openPanel = [&] {
        return open;
    };
    constexpr int padding = NoticeStackView::padding;
    for (int number = 1; number <= 40; ++number) {
        notices.show(item("card " + std::to_string(number)));
        const auto shown =
            controller.panel().geometry().adjusted(padding, padding, -padding, -padding);
        ASSERT_FALSE(shown.intersects(open)) << number;
        ASSERT_TRUE(visible.contains(shown)) << number;
        ASSERT_EQ(titles().back(), "card " + std::to_string(number));
    }
    const auto beside = controller.panel().pos();
    open = QRect();
    controller.redraw();
    EXPECT_GT(controller.panel().x(), beside.x()) << "it is closed";
    EXPECT_EQ(controller.panel().y(), beside.y());
}

TEST_F(NoticePanelTest, KeepsClearOfAnObstacleHoweverManyCardsThereAre) {
    const auto visible = QGuiApplication::primaryScreen()->availableGeometry();
    for (const int y : {12, visible.height() / 2, visible.height() - 76}) {
        const QRect obstacle(400, visible.y() + y, 40, 40);
        controller.obstacle = [&] {
            return obstacle;
        };
        for (int number = 1; number <= 40; ++number) {
            notices.show(item("card " + std::to_string(number)));
            constexpr int padding = NoticeStackView::padding;
            const auto shown =
                controller.panel().geometry().adjusted(padding, padding, -padding, -padding);
            ASSERT_FALSE(shown.intersects(obstacle)) << y << ", " << number << " cards";
            ASSERT_TRUE(visible.contains(shown)) << y << ", " << number << " cards";
        }
        EXPECT_GT(cards().size(), 2U);
        while (!notices.items().empty()) {
            notices.dismiss(notices.items().back().id);
        }
    }
}

} // namespace
} // namespace velmoran
