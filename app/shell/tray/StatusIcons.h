// The four pictures of the status item, drawn at any sharpness. Pure; main thread.
#pragma once

#include "core/records/Device.h"
#include "core/warnings/StatusIconState.h"

#include <QColor>
#include <QIcon>
#include <QImage>
#include <string>
#include <vector>

namespace velmoran {

/// Side of the picture in points.
inline constexpr int statusIconSize = 18;

/// One picture, transparent where nothing is drawn. `ink` is the colour of the template pictures;
/// the alert keeps its red. `pixelsPerPoint` is above 0.
QImage statusIconImage(StatusIconState state, const QColor& ink, double pixelsPerPoint);

/// The picture for the sizes that trays ask for.
QIcon statusIcon(StatusIconState state, const QColor& ink);

/// What the picture says, for those who can't see it and as the tool tip: a line, and one for each
/// device whose uses can't be seen.
std::string statusIconLabel(StatusIconState state, const std::vector<Device>& unwatched = {});

} // namespace velmoran
