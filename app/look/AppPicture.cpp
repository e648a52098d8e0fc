#include "app/look/AppPicture.h"

#include <QFileInfo>
#include <utility>

namespace velmoran {

namespace {

QIcon iconInFile(const QString& path) {
    // Of anything else (a folder, a pipe) the reading could fail late or never end.
    return QFileInfo(path).isFile() ? QIcon(path) : QIcon();
}

QIcon iconInTheme(const QString& name) {
    auto icon = QIcon::fromTheme(name);
    // A theme's names have no endings, which many entries write all the same.
    const bool hasEnding = name.endsWith(QLatin1String(".png")) ||
                           name.endsWith(QLatin1String(".svg")) ||
                           name.endsWith(QLatin1String(".xpm"));
    return icon.isNull() && hasEnding ? QIcon::fromTheme(name.chopped(4)) : icon;
}

} // namespace

AppPicture appPictures(IconName iconName) {
    return [iconName = std::move(iconName)](const AppIdentity& app) {
        const auto name = iconName({.name = app.name, .bundleID = app.bundleID, .path = app.path});
        if (!name) {
            return QIcon();
        }
        const auto text = QString::fromStdString(*name);
        return text.startsWith(QLatin1Char('/')) ? iconInFile(text) : iconInTheme(text);
    };
}

} // namespace velmoran
