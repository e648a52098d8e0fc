// The History window: what the store remembers, as a list with filters and the time per app, or as
// a chart; and the reports of the away watch. Computes what is seen, when it is seen, and at most
// once for all that changes in one turn of the event loop; hidden it costs nothing. Main thread.
#pragma once

#include "app/contents/HistoryContent.h"
#include "app/controls/Choices.h"
#include "app/screens/AwayReportsView.h"
#include "app/screens/HistoryChartView.h"
#include "app/screens/HistoryRows.h"
#include "app/screens/ScreenContext.h"
#include "app/screens/TotalsView.h"

#include <QStackedWidget>
#include <QWidget>
#include <vector>

namespace velmoran {

class HistoryScreen final : public QWidget {
public:
    explicit HistoryScreen(const ScreenContext& context, QWidget* parent = nullptr);

    const HistoryFilter& filter() const { return filter_; }
    HistoryRows& rows() { return *rows_; }
    TotalsView& totals() { return *totals_; }
    HistoryChartView& chart() { return *chart_; }
    AwayReportsView& away() { return *away_; }

    QSize sizeHint() const override { return {720, 460}; }

    /// How often the list moves on while it is shown.
    static constexpr Seconds tick = 30.0;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeHeader();
    QWidget* makeActivity();
    QWidget* makeFilterBar(QWidget* parent);
    QWidget* makeFooter();

    void showPage();
    void flip();
    void choose(const HistoryFilter& filter);
    void historyChanged();
    void moveOn();
    void refreshShown();
    void refreshRows();
    void refreshTotals();
    void refreshChoices();
    void refreshFooter();

    ScreenContext context_;
    HistoryFilter filter_;
    bool showsAway_ = false;
    bool showsChart_ = false;
    Timestamp now_;        ///< of the list's last tick
    SessionList sessions_; ///< what the list is made from; empty while nothing is shown
    bool listIsStale_ = true;
    bool chartIsStale_ = true;
    bool isRefreshPosted_ = false;
    bool choicesWait_ = false;         ///< for the open menu to close
    std::vector<AppChoiceEntry> apps_; ///< what the menu offers, after "All apps"

    SymbolButton* chartButton_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    QStackedWidget* rowsOrNothing_ = nullptr;
    QComboBox* appPicker_ = nullptr;
    HistoryRows* rows_ = nullptr;
    TotalsView* totals_ = nullptr;
    AwayReportsView* away_ = nullptr;
    HistoryChartView* chart_ = nullptr;
    TextLabel* footer_ = nullptr;

    Subscription ticks_;
    std::vector<Subscription> subscriptions_;
};

} // namespace velmoran
