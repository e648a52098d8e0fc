#include "app/screens/AwayReportView.h"

#include "app/contents/Reports.h"
#include "app/screens/ScreenFixture.h"
#include "core/text/Localizer.h"

#include <QKeyEvent>
#include <QScrollBar>
#include <QShortcut>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using testing::eventAt;
using testing::hour;
using testing::midnight;
using ::testing::Not;
using testing::reportOf;
using testing::ScreenFixture;

const Timestamp atTen{midnight.seconds + 10 * hour};

struct AwayReportViewTest : ::testing::Test {
    int opened = 0;
    int ended = 0;
    std::unique_ptr<AwayReportView> view;

    void show(const AwayReport& report, bool leadsOn = true, bool ends = true) {
        std::function<void()> open = [this] {
            ++opened;
        };
        std::function<void()> end = [this] {
            ++ended;
        };
        view = std::make_unique<AwayReportView>(report, leadsOn ? open : nullptr,
                                                ends ? end : nullptr);
        view->resize(view->sizeHint());
        view->show();
        ScreenFixture::settle();
    }
    std::vector<std::string> lines() const {
        std::vector<std::string> names;
        auto* list = QAccessible::queryAccessibleInterface(&view->lines().list());
        for (int index = 0; index < list->childCount(); ++index) {
            names.push_back(list->child(index)->text(QAccessible::Name).toStdString());
        }
        return names;
    }
    QAbstractButton* button(const char* name) const { return ScreenFixture::button(*view, name); }
    QRect frame(int index) const { return view->lines().list().frameOf(index); }
};

TEST_F(AwayReportViewTest, IsReadFromTopToBottom) {
    auto report = reportOf({eventAt(atTen + 60)}, {eventAt(atTen + 1200)});
    report.slept = true;
    show(report);
    EXPECT_THAT(
        lines(),
        ElementsAre("While you were away",
                    "Away watch was on from " + words().shortTime(atTen) + " to " +
                        words().shortTime(atTen + 1800) + ".",
                    words().shortTime(atTen + 60) + ", Keyboard used",
                    words().shortTime(atTen + 1200) + ", Keyboard used, just before you unlocked",
                    "The camera and microphone were not used.",
                    "What happened in the last seconds before you unlocked is probably "
                    "you. It is listed, but doesn't count as something that happened.",
                    "Velmoran can't notice anything while the Mac is asleep."));
    auto* list = QAccessible::queryAccessibleInterface(&view->lines().list());
    EXPECT_EQ(list->text(QAccessible::Name).toStdString(), "Away watch");
    EXPECT_EQ(list->child(0)->role(), QAccessible::Heading);
    EXPECT_EQ(list->child(2)->role(), QAccessible::ListItem);
    EXPECT_EQ(list->child(2)->actionInterface(), nullptr) << "there is nothing to press";
    EXPECT_TRUE(list->child(2)->state().readOnly);
}

TEST_F(AwayReportViewTest, IsAsHighAsItsReportWithoutScrolling) {
    show(reportOf({eventAt(atTen)}));
    EXPECT_EQ(view->size().width(), 400);
    EXPECT_EQ(view->lines().list().verticalScrollBar()->maximum(), 0);
    EXPECT_EQ(frame(view->lines().list().count() - 1).bottom() + 1,
              view->lines().list().viewport()->height());
    const int withOne = view->height();
    show(reportOf({eventAt(atTen), eventAt(atTen + 60)}));
    EXPECT_GT(view->height(), withOne);
}

TEST_F(AwayReportViewTest, HasNoBarBesideALineThatWouldWrapOnlyForIt) {
    // Whatever the length at which a bar would make the difference.
    for (int letters = 20; letters < 90; ++letters) {
        show(reportOf({eventAt(atTen, AwayEventKind::devicePluggedIn,
                               std::string(static_cast<std::size_t>(letters), 'm'))}));
        auto& list = view->lines().list();
        ASSERT_FALSE(list.verticalScrollBar()->isVisible()) << letters;
        ASSERT_EQ(frame(list.count() - 1).bottom() + 1, list.viewport()->height()) << letters;
    }
    view->resize(view->width(), view->height() - 20);
    ScreenFixture::settle();
    EXPECT_TRUE(view->lines().list().verticalScrollBar()->isVisible());
}

TEST_F(AwayReportViewTest, PressesDoneWithReturnAlsoWhileTheListHasTheKeyboard) {
    show(reportOf({eventAt(atTen)}));
    auto& list = view->lines().list();
    list.setCurrent(2);
    QKeyEvent asks(QEvent::ShortcutOverride, Qt::Key_Return, Qt::NoModifier);
    asks.ignore();
    QApplication::sendEvent(&list, &asks);
    EXPECT_FALSE(asks.isAccepted()) << "the list leaves the key to the window";
    for (auto* shortcut : button("Done")->findChildren<QShortcut*>()) {
        if (shortcut->key() == QKeySequence(Qt::Key_Return)) {
            Q_EMIT shortcut->activated();
        }
    }
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(opened, 0);
}

TEST_F(AwayReportViewTest, LeadsToTheHistory) {
    show(reportOf({eventAt(atTen)}));
    ASSERT_NE(button("Open in History"), nullptr);
    button("Open in History")->click();
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(ended, 0);
}

TEST_F(AwayReportViewTest, HasOnlyTheButtonsThatLeadSomewhere) {
    show(reportOf({eventAt(atTen)}), false);
    EXPECT_EQ(button("Open in History"), nullptr);
    EXPECT_NE(button("Done"), nullptr);
    show(reportOf({eventAt(atTen)}), true, false);
    EXPECT_NE(button("Open in History"), nullptr);
    EXPECT_EQ(button("Done"), nullptr);
    show(reportOf({}), true, true);
    EXPECT_EQ(button("Open in History"), nullptr) << "an empty report stands in no history";
    show(reportOf({eventAt(atTen)}), false, false);
    EXPECT_EQ(view->findChildren<QAbstractButton*>().size(), 0);
}

TEST_F(AwayReportViewTest, WrapsALongNameAndObeysNothingInIt) {
    const std::string name(200, 'x');
    show(reportOf({eventAt(atTen),
                   eventAt(atTen, AwayEventKind::devicePluggedIn, "\x1b[31mStick\n\u202e!"),
                   eventAt(atTen, AwayEventKind::devicePluggedIn, name)}));
    EXPECT_EQ(frame(2).height(), frame(3).height() + 2) << "the first row has more room above";
    EXPECT_GT(frame(4).height(), 2 * frame(3).height());
    EXPECT_THAT(lines()[3], Not(::testing::HasSubstr("\x1b")));
    EXPECT_THAT(lines()[3], Not(::testing::HasSubstr("\u202e")));
    EXPECT_THAT(lines()[3], Not(::testing::HasSubstr("\n")));
}

TEST_F(AwayReportViewTest, TakesALongReportAndIsWalkedThroughItByKeys) {
    show(testing::longReport(10'000));
    auto& list = view->lines().list();
    EXPECT_EQ(list.count(), 10'003);
    EXPECT_LE(view->height(), 600);
    EXPECT_GT(list.verticalScrollBar()->maximum(), 200'000);
    // No row reaches into another, whatever its height.
    for (int index = 1; index < list.count(); ++index) {
        ASSERT_EQ(list.frameOf(index).top(), list.frameOf(index - 1).bottom() + 1) << index;
    }
    const auto press = [&](int key) {
        QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(&list, &event);
    };
    press(Qt::Key_Down);
    EXPECT_EQ(list.current(), 1) << "past the heading";
    press(Qt::Key_End);
    EXPECT_EQ(list.current(), list.count() - 1);
    EXPECT_TRUE(list.viewport()->rect().contains(list.frameOf(list.count() - 1)));
    press(Qt::Key_PageUp);
    EXPECT_LT(*list.current(), list.count() - 2);
    EXPECT_TRUE(list.viewport()->rect().contains(list.frameOf(*list.current())));
    press(Qt::Key_Home);
    EXPECT_EQ(list.verticalScrollBar()->value(), 0) << "with the heading";
    for (const int y : {0, 1000, 100'000, list.verticalScrollBar()->maximum()}) {
        list.verticalScrollBar()->setValue(y);
        const auto middle = list.viewport()->rect().center();
        const auto index = list.indexAt(middle);
        ASSERT_TRUE(index);
        EXPECT_TRUE(list.frameOf(*index).contains(middle));
    }
}

TEST_F(AwayReportViewTest, DrawsItsTagOnlyBesideTheOwnReturn) {
    const auto drawn = [this](std::vector<AwayEvent> events, std::vector<AwayEvent> own) {
        show(reportOf(std::move(events), std::move(own)));
        return view->lines().list().viewport()->grab(frame(2)).toImage();
    };
    const auto later = eventAt(atTen + 1200);
    const auto plain = drawn({eventAt(atTen + 60), later}, {});
    const auto tagged = drawn({later}, {eventAt(atTen + 60)});
    EXPECT_EQ(plain.size(), tagged.size());
    EXPECT_NE(plain, tagged);
    EXPECT_EQ(plain, drawn({eventAt(atTen + 60), later}, {}));
}

} // namespace
} // namespace velmoran
