// The measures that the parts of the settings share, so that their lines look alike.
#pragma once

#include <QSize>

namespace velmoran::SettingsMeasures {

inline constexpr QSize windowSize(480, 620);
inline constexpr int windowMargin = 20;
inline constexpr int betweenSections = 20;
inline constexpr int betweenParts = 8;
inline constexpr int betweenLines = 2;
inline constexpr int rowMargin = 6; ///< above and below what stands in a line, as a FormRow has it
inline constexpr int noteWidth = 300;
inline constexpr int infoPoints = 16;
inline constexpr int infoSide = 24;
inline constexpr int imagePoints = 24;

} // namespace velmoran::SettingsMeasures
