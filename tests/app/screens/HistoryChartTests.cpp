#include "app/screens/HistoryFixture.h"
#include "support/Waiting.h"

#include <QLabel>
#include <QProxyStyle>
#include <QStyleFactory>

namespace velmoran {
namespace {

using testing::day;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::HistoryFixture;
using testing::hour;
using testing::sessionOf;
using ::testing::SizeIs;

/// A style without animations, as long as it lives.
class LessMotion {
public:
    LessMotion() : before_(QApplication::style()->name()) { QApplication::setStyle(new Still); }
    ~LessMotion() { QApplication::setStyle(QStyleFactory::create(before_)); }
    LessMotion(const LessMotion&) = delete;
    LessMotion& operator=(const LessMotion&) = delete;

private:
    struct Still : QProxyStyle {
        int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                      QStyleHintReturn* data) const override {
            return hint == SH_Widget_Animation_Duration
                       ? 0
                       : QProxyStyle::styleHint(hint, option, widget, data);
        }
    };

    QString before_;
};

struct HistoryChartTest : HistoryFixture {
    void openChart() {
        open();
        part<QAbstractButton>("chartButton")->click();
        QApplication::processEvents();
    }
    ChartPlot& plot() const { return screen->chart().plot(); }
    QPointF placeOf(std::size_t index) const {
        return {plot().places().xOf(index), plot().places().plot().y + 20};
    }
    /// Something in the chart has about that yellow.
    bool showsTheCamerasLine() const {
        const auto picture = plot().grab().toImage();
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                const auto color = picture.pixelColor(x, y);
                if (color.red() > 200 && color.green() > 160 && color.blue() < 120) {
                    return true;
                }
            }
        }
        return false;
    }
    DayNoteView* note() const { return part<DayNoteView>("dayNote"); }
    /// Lets Qt's own animations run.
    static bool becomes(const std::function<bool()>& condition) {
        return support::waitUntil([&] {
            QApplication::processEvents();
            return condition();
        });
    }
};

TEST_F(HistoryChartTest, SaysWhatTheChartButtonDoes) {
    keep(past("Call", Device::camera, 600));
    open();
    auto* flip = part<SymbolButton>("chartButton");
    EXPECT_EQ(flip->symbol(), "chart.xyaxis.line");
    EXPECT_EQ(nameOf(access(flip)), "Show the chart");
    EXPECT_EQ(flip->toolTip(), "Show camera and microphone time as a chart");
    flip->click();
    EXPECT_TRUE(part("historyChart")->isVisible());
    EXPECT_EQ(flip->symbol(), "list.bullet");
    EXPECT_EQ(nameOf(access(flip)), "Back to the list");
    EXPECT_EQ(flip->toolTip(), "Back to the list");
    flip->click();
    EXPECT_FALSE(part("historyChart")->isVisible());
    EXPECT_TRUE(part("historyRows")->isVisible());
}

TEST_F(HistoryChartTest, FadesInUnderAPictureOfTheListThatGoes) {
    open();
    for (const auto* shown : {"historyChart", "historyRows"}) {
        part<QAbstractButton>("chartButton")->click();
        const auto* picture = part("fadingPicture");
        ASSERT_NE(picture, nullptr);
        EXPECT_EQ(picture->parentWidget()->children().last(), picture) << "above all others";
        auto* page = part(shown);
        ASSERT_FALSE(picture->isAncestorOf(page));
        EXPECT_TRUE(picture->parentWidget()->isAncestorOf(page));
        EXPECT_TRUE(picture->geometry().contains(
            QRect(page->mapTo(picture->parentWidget(), QPoint(0, 0)), page->size())));
        EXPECT_TRUE(becomes([&] { return !part("fadingPicture"); }));
    }
}

TEST_F(HistoryChartTest, CountsWhatTheListHides) {
    keep(past("Call", Device::camera, 600));
    keep(past("Old", Device::camera, 20 * day));
    keep(pastListening(1200));
    launch();
    model->settings.ignoreSystemListening.set(true);
    open();
    EXPECT_THAT(rows(), ElementsAre("Today", HasSubstr("Call, camera")));
    EXPECT_EQ(part<QComboBox>("appFilter")->findText("Siri"), -1);
    EXPECT_THAT(namesIn(part("totalsRows")), ElementsAre("Call, 1 min"));
    part<QAbstractButton>("chartButton")->click();
    QApplication::processEvents();
    EXPECT_EQ(plot().content().days.back().camera, 60);
    EXPECT_EQ(plot().content().days.back().microphone, 60);
    button(part("span"), "Month")->click();
    EXPECT_THAT(plot().content().days, SizeIs(30));
    EXPECT_EQ(plot().content().days[9].camera, 60);
    button(part("span"), "90 days")->click();
    EXPECT_THAT(plot().content().days, SizeIs(90));
    EXPECT_EQ(part("span")->width(), 210);
}

TEST_F(HistoryChartTest, SelectsADayByAClickAndClearsItByASecond) {
    keep(past("Call", Device::camera, 600));
    openChart();
    click(&plot(), placeOf(5));
    EXPECT_EQ(plot().selected(), 5U);
    EXPECT_TRUE(note()->isVisible());
    EXPECT_TRUE(plot().rect().contains(note()->geometry()));
    click(&plot(), placeOf(6));
    EXPECT_EQ(plot().selected(), 6U);
    EXPECT_TRUE(plot().rect().contains(note()->geometry()));
    click(&plot(), placeOf(6));
    EXPECT_EQ(plot().selected(), std::nullopt);
    EXPECT_TRUE(becomes([&] { return !note()->isVisible(); }));
    // Beside the plot there is no date.
    click(&plot(), {2, placeOf(0).y()});
    EXPECT_EQ(plot().selected(), std::nullopt);
}

TEST_F(HistoryChartTest, MovesTheSelectedDayByKeys) {
    openChart();
    press(&plot(), Qt::Key_Left);
    EXPECT_EQ(plot().selected(), 6U);
    press(&plot(), Qt::Key_Left);
    EXPECT_EQ(plot().selected(), 5U);
    press(&plot(), Qt::Key_Right);
    press(&plot(), Qt::Key_Right);
    EXPECT_EQ(plot().selected(), 6U);
    press(&plot(), Qt::Key_Home);
    press(&plot(), Qt::Key_Left);
    EXPECT_EQ(plot().selected(), 0U);
    press(&plot(), Qt::Key_Escape);
    EXPECT_EQ(plot().selected(), std::nullopt);
}

TEST_F(HistoryChartTest, ClearsTheSelectionWithAnotherSpan) {
    openChart();
    press(&plot(), Qt::Key_End);
    button(part("span"), "Month")->click();
    EXPECT_EQ(plot().selected(), std::nullopt);
    EXPECT_FALSE(note()->isVisible());
}

TEST_F(HistoryChartTest, KeepsTheSelectedDayWhenTheHistoryChanges) {
    launchWatching();
    openChart();
    click(&plot(), placeOf(6));
    receive(camera({testing::appRef("Call")}));
    time.advanceBy(90);
    receive({});
    settle();
    EXPECT_EQ(plot().selected(), 6U);
    EXPECT_EQ(plot().content().days.back().camera, 90);
    std::vector<std::string> said;
    for (auto* label : all<LineLabel>(note())) {
        said.push_back(label->text().toStdString());
    }
    EXPECT_THAT(said,
                ElementsAre("Today", "Camera", "1 min", "Microphone", "0 s", "Call", "1 min"));
}

TEST_F(HistoryChartTest, DrawsItselfInUnlessLessMotionIsWanted) {
    keep(past("Call", Device::camera, 600));
    open();
    part<QAbstractButton>("chartButton")->click();
    EXPECT_LT(plot().drawn(), 1);
    EXPECT_TRUE(becomes([&] { return plot().drawn() == 1; }));
    // Drawn in anew, but for somebody who wants less motion.
    button(part("span"), "Month")->click();
    EXPECT_LT(plot().drawn(), 1);
    const LessMotion wish;
    button(part("span"), "Week")->click();
    EXPECT_EQ(plot().drawn(), 1);
}

TEST_F(HistoryChartTest, BeginsWithNothingDrawnEachTimeItIsShown) {
    keep(past("Call", Device::camera, 600));
    open();
    auto* flip = part<QAbstractButton>("chartButton");
    for (const char* time : {"first", "second"}) {
        flip->click();
        // Before anything has moved, and so in the first picture that anybody sees.
        EXPECT_EQ(plot().drawn(), 0) << time;
        EXPECT_FALSE(showsTheCamerasLine()) << time;
        ASSERT_TRUE(becomes([&] { return plot().drawn() == 1; })) << time;
        EXPECT_TRUE(showsTheCamerasLine()) << time;
        flip->click();
        EXPECT_FALSE(part("historyChart")->isVisible());
    }
    flip->click();
    ASSERT_LT(plot().drawn(), 1);
    flip->click();
    EXPECT_EQ(plot().drawn(), 1) << "nothing moves that isn't seen";
}

TEST_F(HistoryChartTest, IsLaidOutAnewForLargerLetters) {
    keep(past("Call", Device::camera, 600));
    openChart();
    press(&plot(), Qt::Key_End);
    const auto before = plot().places().plot();
    const auto noteBefore = note()->geometry();
    const auto font = QApplication::font();
    auto larger = font;
    larger.setPointSizeF(1.5 * font.pointSizeF());
    QApplication::setFont(larger);
    EXPECT_TRUE(becomes([&] {
        const auto now = plot().places().plot();
        return now.x > before.x && now.y + now.height < before.y + before.height;
    })) << "the labels beside it and below it have become larger";
    EXPECT_TRUE(becomes([&] { return note()->height() > noteBefore.height(); }));
    EXPECT_TRUE(plot().rect().contains(note()->geometry()));
    QApplication::setFont(font);
    EXPECT_TRUE(becomes([&] { return plot().places().plot().x == before.x; }));
    EXPECT_TRUE(becomes([&] { return note()->geometry() == noteBefore; }));
}

TEST_F(HistoryChartTest, IsATableForAScreenReader) {
    keep(past("Call", Device::camera, 600));
    keep(past("Memo", Device::microphone, day));
    openChart();
    auto* chart = access(&plot());
    ASSERT_NE(chart, nullptr);
    EXPECT_EQ(nameOf(chart), "Camera and microphone time per day");
    EXPECT_EQ(chart->role(), QAccessible::Table);
    auto* table = chart->tableInterface();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->rowCount(), 7);
    EXPECT_EQ(table->columnCount(), 3);
    const auto line = [&](int row) {
        std::vector<std::string> cells;
        for (int column = 0; column < 3; ++column) {
            cells.push_back(nameOf(table->cellAt(row, column)));
        }
        return cells;
    };
    EXPECT_THAT(line(5), ElementsAre("Yesterday", "0 s", "1 min"));
    EXPECT_THAT(line(6), ElementsAre("Today", "1 min", "0 s"));
    auto* cell = table->cellAt(6, 1);
    EXPECT_EQ(cell->role(), QAccessible::Cell);
    EXPECT_EQ(cell->parent(), chart);
    EXPECT_EQ(chart->child(chart->indexOfChild(cell)), cell);
    // What the axis counts, but no day does.
    EXPECT_EQ(cell->text(QAccessible::Description), "Minutes");
    EXPECT_EQ(table->cellAt(6, 2)->text(QAccessible::Description), "Minutes");
    EXPECT_EQ(table->cellAt(6, 0)->text(QAccessible::Description), "");
    auto* place = cell->tableCellInterface();
    ASSERT_NE(place, nullptr);
    EXPECT_EQ(place->rowIndex(), 6);
    ASSERT_THAT(place->columnHeaderCells(), SizeIs(1));
    EXPECT_EQ(nameOf(place->columnHeaderCells()[0]), "Camera");
    EXPECT_EQ(nameOf(place->rowHeaderCells()[0]), "Today");
    EXPECT_EQ(table->cellAt(7, 0), nullptr);

    EXPECT_TRUE(table->selectRow(5));
    EXPECT_EQ(plot().selected(), 5U);
    EXPECT_TRUE(table->isRowSelected(5));
    EXPECT_TRUE(table->unselectRow(5));
    EXPECT_EQ(plot().selected(), std::nullopt);
}

TEST_F(HistoryChartTest, TellsAScreenReaderWhereThereWasNoUse) {
    keep(past("Call", Device::camera, 600));
    openChart();
    EXPECT_EQ(access(&plot())->text(QAccessible::Description), "");
    model->deleteHistory();
    settle();
    EXPECT_EQ(access(&plot())->text(QAccessible::Description),
              "No camera or microphone use in this time.");
}

TEST_F(HistoryChartTest, FollowsAHistoryThatIsDeletedWhileItIsOpen) {
    keep(past("Call", Device::camera, 600));
    openChart();
    ASSERT_FALSE(plot().content().isEmpty());
    press(&plot(), Qt::Key_End);
    model->deleteHistory();
    settle();
    EXPECT_TRUE(plot().content().isEmpty());
    EXPECT_EQ(plot().selected(), 6U);
    EXPECT_FALSE(screen->grab().isNull());
}

TEST_F(HistoryChartTest, ShowsFourAppsOfADayAndHowManyMore) {
    for (int index = 0; index < 5; ++index) {
        keep(past("App" + std::to_string(index), Device::camera, 600 + 100 * index));
    }
    auto odd = past("Odd", Device::camera, 3000);
    odd.end = odd.start + 300;
    odd.app.name = std::string(10000, '<') + "<b>\n";
    keep(odd);
    openChart();
    press(&plot(), Qt::Key_End);
    EXPECT_LE(note()->width(), DayNoteView::mostWidth);
    EXPECT_TRUE(plot().rect().contains(note()->geometry()));
    EXPECT_THAT(all<AppImage>(note()), SizeIs(4));
    EXPECT_EQ(all<LineLabel>(note()).back()->text(), "and 2 more");
}

} // namespace
} // namespace velmoran
