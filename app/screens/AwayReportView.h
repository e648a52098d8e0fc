// The window that opens after unlocking: what happened meanwhile. As high as its report, up to a
// height from which on that scrolls. Reads its report once and changes nothing. Main thread.
#pragma once

#include "app/screens/AwayReportLines.h"

#include <QWidget>
#include <functional>

namespace velmoran {

class AwayReportView final : public QWidget {
public:
    /// "Open in History" is there if `openHistory` is set and the report isn't empty, "Done" if
    /// `done` is. Either may end the view.
    AwayReportView(const AwayReport& report, const std::function<void()>& openHistory,
                   const std::function<void()>& done, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    AwayReportLines& lines() { return *lines_; }

    static constexpr int windowWidth = 400;

private:
    AwayReportLines* lines_;
    QWidget* foot_ = nullptr; ///< the buttons; null without any
};

} // namespace velmoran
