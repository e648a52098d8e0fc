// The measures that the parts of the panel share, so that their left edges align.
#pragma once

#include <QHBoxLayout>
#include <QWidget>

namespace velmoran::PanelMeasures {

inline constexpr int width = 320;
inline constexpr int margin = 16;
inline constexpr int inner = width - 2 * margin;
inline constexpr int symbolColumn = 22;
inline constexpr int symbolSize = 18;
inline constexpr int gap = 8; ///< between parts of one thing

/// The symbol in the middle of its column.
inline QWidget* inSymbolColumn(QWidget* symbol, QWidget* parent) {
    auto* column = new QWidget(parent);
    column->setFixedWidth(symbolColumn);
    auto* layout = new QHBoxLayout(column);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(symbol, 0, Qt::AlignCenter);
    return column;
}

} // namespace velmoran::PanelMeasures
