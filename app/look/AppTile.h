// The picture of an app as windows show it: the desktop's, or else a tile with the first letter of
// its name, in a quiet tone that is always the same for the same app. Main thread.
#pragma once

#include "app/look/AppPicture.h"

#include <QHash>
#include <QPalette>
#include <QPixmap>
#include <utility>

namespace velmoran {

/// In a square of that many points. An app that can't be named has a question mark.
QPixmap appPixmap(const AppPicture& picture, const AppIdentity& app, int points,
                  double pixelsPerPoint, const QPalette& palette);

/// The same for a list: a picture that was drawn once is kept, as finding one means looking into
/// files.
class AppPixmaps final {
public:
    explicit AppPixmaps(AppPicture picture) : picture_(std::move(picture)) {}
    QPixmap of(const AppIdentity& app, int points, double pixelsPerPoint, const QPalette& palette);
    /// Another theme may have other pictures.
    void forget() { kept_.clear(); }

private:
    AppPicture picture_;
    QHash<QString, QPixmap> kept_;
};

} // namespace velmoran
