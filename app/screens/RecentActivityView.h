// What was on recently: a short list under a heading, in a place whose height is always the same.
// Part of the panel; main thread.
#pragma once

#include "app/contents/RecentLine.h"
#include "app/screens/KeyedLines.h"
#include "app/screens/RecentRow.h"

#include <QScrollArea>
#include <functional>
#include <optional>
#include <vector>

namespace velmoran {

class RecentActivityView final : public QWidget {
public:
    using Columns = RecentColumns;

    RecentActivityView(AppPicture picture, std::function<void(const Uuid& row)> showDetails,
                       QWidget* parent);
    /// True if the keyboard's way through it is another one now.
    bool present(const std::vector<RecentLine>& lines);
    /// What takes the keyboard, in its order.
    std::vector<QWidget*> focusOrder() const { return rows_.widgets(); }

    static constexpr int listHeight = 124;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    AppPicture picture_;
    std::function<void(const Uuid&)> showDetails_;
    TextLabel* nothing_;
    QScrollArea* list_;
    QVBoxLayout* rowLayout_;
    KeyedLines<RecentRow> rows_;
    std::optional<std::vector<RecentLine>> shown_;
    QFont shownFont_;
};

} // namespace velmoran
