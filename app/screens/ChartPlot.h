// The chart itself: two lines over the last days, the rule and the note of a chosen day. Days are
// chosen by a click or the arrow keys; for a screen reader it is a table of the days. Owned by the
// chart's view; main thread.
#pragma once

#include "app/contents/ChartLayout.h"
#include "app/screens/DayNoteView.h"
#include "app/screens/ScreenContext.h"

#include <QGraphicsOpacityEffect>
#include <QVariantAnimation>
#include <QWidget>
#include <optional>

class QPainter;

namespace velmoran {

class ChartPlot final : public QWidget {
public:
    ChartPlot(const ScreenContext& context, QWidget* parent);

    /// A chosen day stays as long as it is shown.
    void setContent(ChartContent content);
    /// From nothing to the whole chart, with no day chosen; at once where less motion is wanted.
    void drawIn();
    const ChartContent& content() const { return content_; }
    const ChartLayout& places() const { return layout_; }
    /// The index of the chosen day.
    std::optional<std::size_t> selected() const;
    void select(std::optional<std::size_t> day);
    /// What is said of the chosen day; hidden without one.
    DayNoteView& note() const { return *note_; }
    /// The part of the drawing that is shown, from 0 to 1.
    double drawn() const { return drawn_; }

    QSize sizeHint() const override { return {600, 280}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void layOut();
    void placeNote();
    void fadeNote(bool shown);
    void paintAxes(QPainter& painter) const;
    void paintLine(QPainter& painter, const std::vector<ChartPoint>& points, bool isCamera) const;
    void paintSelection(QPainter& painter) const;

    ScreenContext context_;
    ChartContent content_;
    ChartLayout layout_;
    std::optional<Timestamp> selected_; ///< the chosen day
    std::optional<Timestamp> marked_;   ///< it, or the one that is fading away
    double drawn_ = 1;
    double marking_ = 0; ///< how much of the marks is shown, from 0 to 1
    bool focusIsByKeyboard_ = false;
    DayNoteView* note_;
    QGraphicsOpacityEffect* noteOpacity_;
    QVariantAnimation drawing_;
    QVariantAnimation fading_;
};

} // namespace velmoran
