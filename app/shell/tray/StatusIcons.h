// The four pictures of the status item, drawn at any sharpness. Pure but for the look whether their
// files are installed; main thread.
#pragma once

#include "core/records/Device.h"
#include "core/records/UsageSession.h"
#include "core/warnings/StatusIconState.h"

#include <QColor>
#include <QIcon>
#include <QImage>
#include <string>
#include <vector>

namespace velmoran {

/// Side of the picture in points.
inline constexpr int statusIconSize = 18;

/// What the template pictures are drawn with. Around them goes a line of the other colour, so that
/// one of both shows up on whatever the picture lies.
struct IconInk {
    QColor ink;
    QColor outline = {}; ///< invalid for none
};

/// One picture, transparent where nothing is drawn. The alert keeps its red. `pixelsPerPoint` is
/// above 0.
QImage statusIconImage(StatusIconState state, const IconInk& ink, double pixelsPerPoint);

/// The picture for the sizes that trays ask for, and under the name of its installed file, which a
/// tray that takes names draws in its own colours.
QIcon statusIcon(StatusIconState state, const IconInk& ink);

/// The name of its file among the installed pictures; symbolic but for the alert's.
QString statusIconName(StatusIconState state);

/// What the picture says, for those who can't see it and as the tool tip: a line, one for each app
/// that is using something, and one for each device whose uses can't be seen. `listeners` are the
/// system's own that have the microphone on: they are named where nobody uses anything. Apps' names
/// are in it as plain text, also where a tray reads markup.
std::string statusIconLabel(StatusIconState state, const std::vector<Device>& unwatched = {},
                            const std::vector<UsageSession>& uses = {},
                            const std::vector<AppIdentity>& listeners = {});

} // namespace velmoran
