// The colours of the chart's two lines, and a spot of one of them beside its name. Owned by its
// parent; main thread.
#pragma once

#include "app/look/ScreenColors.h"

#include <QWidget>

namespace velmoran {

inline QColor chartColor(const ScreenColors& colors, bool isCamera) {
    return isCamera ? colors.stop : colors.text;
}
/// Around what is drawn in it, where it would hardly be seen.
inline QColor chartEdge(const ScreenColors& colors, bool isCamera) {
    return isCamera ? colors.stopEdge : colors.text;
}

class ChartSwatch final : public QWidget {
public:
    ChartSwatch(bool isCamera, const QSize& size, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool isCamera_;
};

} // namespace velmoran
