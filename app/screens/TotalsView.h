// How long each app has used devices, beside the list of the history. Follows that list's device,
// but neither its app nor its period: it has a period of its own. Owned by the History window;
// main thread.
#pragma once

#include "app/contents/TotalsContent.h"
#include "app/controls/Choices.h"
#include "app/controls/Labels.h"
#include "app/screens/AppCells.h"
#include "app/screens/ItemList.h"
#include "app/screens/ScreenContext.h"

#include <QWidget>
#include <functional>

namespace velmoran {

class TotalsView final : public QWidget, private ItemSource {
public:
    TotalsView(const ScreenContext& context, QWidget* parent);

    /// Of all sessions that are shown, whatever the device.
    void setSessions(const SessionList& sessions, std::optional<Device> device, Timestamp now);
    const TotalsContent& content() const { return content_; }
    HistoryRange range() const { return range_; }
    /// Another period was chosen: `setSessions` should be called.
    std::function<void()> onRange = [] {
    };

    static constexpr int columnWidth = 210;

protected:
    void changeEvent(QEvent* event) override;

private:
    void paint(QPainter& painter, int index, const Look& look) const override;
    QString name(int index) const override;
    QString help(int index, const QRect& frame, QPoint place) const override;
    QRect part(int index, const QRect& frame) const override;
    QString partName(int index) const override;
    void press(int index, const QRect& frame, std::optional<QPoint> place) override;

    AppCells::Place placeIn(const QRect& frame, int index) const;
    QString time(int index) const;
    const AppTime& at(int index) const { return content_.apps[static_cast<std::size_t>(index)]; }

    ScreenContext context_;
    mutable AppCells cells_;
    TotalsContent content_;
    HistoryRange range_ = HistoryRange::week;
    SegmentedControl* period_;
    LineLabel* device_;
    TextLabel* nothing_;
    ItemList* list_ = nullptr;
};

} // namespace velmoran
