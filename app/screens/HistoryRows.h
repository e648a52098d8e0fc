// The rows of the history, in sections by day. Owned by the History window; main thread.
#pragma once

#include "app/contents/HistoryContent.h"
#include "app/screens/AppCells.h"
#include "app/screens/ItemList.h"
#include "app/screens/ScreenContext.h"

#include <QWidget>

namespace velmoran {

class HistoryRows final : public QWidget, private ItemSource {
public:
    HistoryRows(const ScreenContext& context, QWidget* parent);

    /// The chosen row and the place stay, as far as they are still there.
    void setContent(HistoryContent content);
    const HistoryContent& content() const { return content_; }
    ItemList& list() { return *list_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    /// Where the parts of a row begin, by the widest that they can be.
    struct Columns {
        QRect time;
        QRect app;
        QRect devices;
        QRect label;
        QRect trailing;
    };

    void paint(QPainter& painter, int index, const Look& look) const override;
    QString name(int index) const override;
    QString help(int index, const QRect& frame, QPoint place) const override;
    QRect part(int index, const QRect& frame) const override;
    QString partName(int index) const override;
    void press(int index, const QRect& frame, std::optional<QPoint> place) override;

    void measure();
    Columns columnsIn(const QRect& frame, const std::string& devices, const AppIdentity& app) const;
    Columns columnsOf(int index, const QRect& frame) const;
    void paintHeading(QPainter& painter, int index, const Look& look) const;
    /// The section that a line belongs to or is the heading of.
    std::size_t sectionOf(int index) const;
    const ActivityRow& row(int index) const;
    std::optional<int> indexOf(const Uuid& id) const;
    std::optional<Uuid> idAt(std::optional<int> index) const;

    ScreenContext context_;
    mutable AppCells cells_;
    HistoryContent content_;
    QFont body_;
    QFont digits_;
    int timeWidth_ = 48;
    int devicesWidth_ = 0;
    int labelWidth_ = 0;
    int trailingWidth_ = 0;
    ItemList* list_ = nullptr;
};

} // namespace velmoran
