// The measures that the parts of the settings share, so that their lines look alike.
#pragma once

#include <QSize>
#include <QVBoxLayout>
#include <QWidget>

namespace velmoran::SettingsMeasures {

inline constexpr QSize windowSize(480, 620);
inline constexpr int windowMargin = 20;
inline constexpr int betweenSections = 20;
inline constexpr int betweenParts = 8;
inline constexpr int betweenThings = 12;
inline constexpr int betweenLines = 2;
inline constexpr int rowMargin = 6; ///< above and below what stands in a line, as a FormRow has it
inline constexpr int noteWidth = 300;
inline constexpr int infoPoints = 16;
inline constexpr int infoSide = 24;
inline constexpr int imagePoints = 24;

/// With room above and below it.
inline QWidget* inset(QWidget* content, int above, int below) {
    auto* whole = new QWidget(content->parentWidget());
    auto* column = new QVBoxLayout(whole);
    column->setContentsMargins(0, above, 0, below);
    column->addWidget(content);
    return whole;
}

} // namespace velmoran::SettingsMeasures
