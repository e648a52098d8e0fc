// What a card is for somebody who has the screen read aloud.
#include "app/shell/cards/NoticePanelController.h"
#include "support/AccessibleButton.h"
#include "system/scripted/ScriptedTime.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Said {
    std::string name;
    std::string description;
    QAccessible::Role role = QAccessible::NoRole;
};

struct NoticeAccess : ::testing::Test {
    ScriptedTime time;
    NoticeCenter notices{time};
    NoticePanelController controller{notices, [] { return std::nullopt; }, AppPicture()};
    std::vector<Said> alerts;

    void SetUp() override {
        const_cast<NoticePanel&>(controller.panel()).announce = [this](NoticeView& card) {
            // Nothing reads this screen, so an event would reach nobody.
            EXPECT_TRUE(card.isVisible());
            auto* of = QAccessible::queryAccessibleInterface(&card);
            alerts.push_back({of->text(QAccessible::Name).toStdString(),
                              of->text(QAccessible::Description).toStdString(), of->role()});
        };
    }
    Uuid show(const std::string& title, const std::string& message = {}) {
        NoticeItem card;
        card.id = Uuid::random();
        card.title = title;
        if (!message.empty()) {
            card.message = message;
        }
        card.timeText = "Just now";
        card.buttons.push_back({.title = "Stop", .action = [this] {
                                    ++presses;
                                }});
        notices.show(card);
        return card.id;
    }
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& each : alerts) {
            result.push_back(each.name);
        }
        return result;
    }
    int presses = 0;
};

TEST_F(NoticeAccess, ACardIsAnAlertWithItsText) {
    show("Zoom turned on the camera", "It is connected with 2 computers.");
    ASSERT_EQ(alerts.size(), 1U);
    EXPECT_EQ(alerts[0].name, "Zoom turned on the camera");
    EXPECT_EQ(alerts[0].description, "It is connected with 2 computers.");
    EXPECT_EQ(alerts[0].role, QAccessible::Notification);
}

TEST_F(NoticeAccess, IsSaidOnceHoweverOftenTheCardsAreDrawn) {
    const auto first = show("First");
    show("Second");
    const auto third = show("Third");
    controller.redraw();
    notices.dismiss(first);
    notices.dismiss(third);
    EXPECT_THAT(names(), ElementsAre("First", "Second", "Third"));
    alerts.clear();
    while (!notices.items().empty()) {
        notices.dismiss(notices.items().front().id);
    }
    EXPECT_THAT(alerts, IsEmpty());
    show("Second");
    EXPECT_THAT(names(), ElementsAre("Second")) << "it is another one";
}

TEST_F(NoticeAccess, ACardThatSaysMoreIsSaidAgain) {
    NoticeItem card;
    card.id = Uuid::random();
    card.title = "Zoom turned on the camera";
    card.timeText = "Just now";
    notices.show(card);
    card.title = "Zoom turned on the camera and microphone";
    notices.show(card);
    EXPECT_THAT(names(), ElementsAre("Zoom turned on the camera",
                                     "Zoom turned on the camera and microphone"));
}

TEST_F(NoticeAccess, EachCardOfOneAppIsSaidWhenItComesAndNotWhenItIsTheNewestAgain) {
    const auto card = [this](const std::string& title) {
        NoticeItem of;
        of.id = Uuid::random();
        of.app = AppIdentity::unknown();
        of.title = title;
        of.timeText = "Just now";
        notices.show(of);
        return of.id;
    };
    card("First");
    const auto second = card("Second");
    const auto third = card("Third");
    EXPECT_THAT(names(), ElementsAre("First", "Second", "Third"));
    alerts.clear();
    notices.dismiss(third);
    notices.dismiss(second);
    EXPECT_THAT(names(), IsEmpty());
    time.advanceBy(60);
    EXPECT_THAT(names(), IsEmpty()) << "another time is no news";
}

TEST_F(NoticeAccess, TheKeyboardGoesToTheNewestAndPresses) {
    controller.takeKeyboard();
    EXPECT_FALSE(controller.panel().isVisible()) << "there is none";
    show("First");
    show("Second");
    controller.takeKeyboard();
    const auto* button = controller.panel().focusWidget();
    ASSERT_TRUE(button);
    EXPECT_EQ(button->parentWidget()->accessibleName(), "Second");
    EXPECT_EQ(static_cast<const QAbstractButton*>(button)->text(), "Stop");
    QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QApplication::sendEvent(const_cast<QWidget*>(button), &enter);
    EXPECT_EQ(presses, 1);
}

} // namespace
} // namespace velmoran
