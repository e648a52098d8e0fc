// The tab of the History window that lists the reports of the away watch, the newest first. Looks
// at them only while it is shown. Main thread.
#pragma once

#include "app/screens/AwayReportLines.h"
#include "app/screens/ScreenContext.h"

#include <QStackedWidget>

namespace velmoran {

class AwayReportsView final : public QWidget {
public:
    AwayReportsView(const ScreenContext& context, QWidget* parent);

    /// As the reports are now, and the days by the present moment.
    void refresh();
    AwayReportLines& lines() { return *lines_; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    ScreenContext context_;
    QStackedWidget* listOrNothing_;
    AwayReportLines* lines_;
    Subscription watching_;
};

} // namespace velmoran
