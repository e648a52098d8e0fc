// The symbols of cards and windows: one set of pictures (app/look/symbols), drawn for this program
// on a grid of 24 with a margin of 2, in one colour that is chosen when they are drawn. Main
// thread.
#pragma once

#include <QColor>
#include <QPixmap>
#include <QString>

namespace velmoran {

/// A picture of that many points in a square, as sharp as the screen. `name` is that of a file in
/// app/look/symbols ("camera", "microphone-muted", "trusted" …) or one of the names that the
/// records and screens use for what is in it ("video.fill", "mic.slash.fill",
/// "checkmark.shield.fill" …). An unknown name gives the circle with the exclamation mark, so that
/// nothing stands without a picture. What has been drawn lately is kept.
QPixmap symbolPixmap(const QString& name, const QColor& ink, int points, double pixelsPerPoint);

/// Whether there is a picture of that name.
bool hasSymbol(const QString& name);

} // namespace velmoran
