// The symbols that a card can show in place of an app's icon, drawn by name. Pure; main thread.
#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

namespace velmoran {

/// A picture of that many points in a square. Unknown names give the circle with the exclamation
/// mark, so that a card never stands without a picture. Names: "checkmark.circle",
/// "exclamationmark.circle", "speaker.wave.2", "speaker.slash", "stop.fill", "xmark", "app",
/// "camera", "microphone".
QPixmap symbolPixmap(const QString& name, const QColor& ink, int points, double pixelsPerPoint);

} // namespace velmoran
