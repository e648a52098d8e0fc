#include "app/look/AppTile.h"

#include "app/look/CardColors.h"
#include "app/look/ScreenColors.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QTextBoundaryFinder>
#include <cmath>
#include <cstdint>

namespace velmoran {

namespace {

constexpr int mostKept = 500;

/// The first letter or digit of the name with all that belongs to it, in upper case.
QString initial(const AppIdentity& app) {
    const auto name = QString::fromStdString(app.name).left(200);
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, name);
    for (qsizetype at = 0; !app.cannotBeNamed() && at >= 0 && at < name.size();) {
        const auto next = finder.toNextBoundary();
        const auto letter = name.mid(at, next - at);
        const auto first = letter.toUcs4().value(0);
        if (QChar::isLetterOrNumber(first)) {
            const auto upper = letter.toUpper(); // some become two
            return upper.size() == letter.size() ? upper : letter;
        }
        at = next;
    }
    return QStringLiteral("?");
}

/// The same in every run and on every machine.
std::uint32_t numberOf(const std::string& text) {
    std::uint32_t hash = 2166136261U;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    }
    return hash ^ (hash >> 16U);
}

QPixmap drawnTile(const AppIdentity& app, int side, const QPalette& palette) {
    const ScreenColors colors(palette);
    constexpr int tones = 12;
    const auto hue = static_cast<float>(numberOf(app.id) % tones) / tones;
    const auto tone = app.cannotBeNamed() ? mixed(colors.window, colors.text, 0.18)
                      : colors.isDark     ? QColor::fromHslF(hue, 0.22F, 0.34F)
                                          : QColor::fromHslF(hue, 0.34F, 0.84F);
    const auto ink = app.cannotBeNamed() ? colors.text
                     : colors.isDark     ? QColor::fromHslF(hue, 0.35F, 0.90F)
                                         : QColor::fromHslF(hue, 0.45F, 0.24F);
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(tone);
    // The margin that the pictures of desktops have, so that rows of both look even.
    const double margin = side / 24.0;
    const auto frame = QRectF(0, 0, side, side).adjusted(margin, margin, -margin, -margin);
    painter.drawRoundedRect(frame, 0.22 * side, 0.22 * side);
    QFont letter = QGuiApplication::font();
    letter.setPixelSize(std::max(1, static_cast<int>(std::lround(0.56 * side))));
    letter.setWeight(QFont::DemiBold);
    painter.setFont(letter);
    painter.setPen(ink);
    // In the middle by what is seen of the letter, not by what fonts keep free around it.
    const auto text = initial(app);
    const QFontMetricsF metrics(letter);
    painter.drawText(frame.center() + QPointF(-metrics.tightBoundingRect(text).center().x(),
                                              metrics.capHeight() / 2),
                     text);
    return pixmap;
}

} // namespace

QPixmap appPixmap(const AppPicture& picture, const AppIdentity& app, int points,
                  double pixelsPerPoint, const QPalette& palette) {
    const auto icon = picture ? picture(app) : QIcon();
    // An icon whose file can't be drawn is one all the same.
    const auto drawn = icon.pixmap(QSize(points, points), pixelsPerPoint);
    if (!drawn.isNull()) {
        return drawn;
    }
    auto tile = drawnTile(app, static_cast<int>(std::lround(points * pixelsPerPoint)), palette);
    tile.setDevicePixelRatio(pixelsPerPoint);
    return tile;
}

QPixmap AppPixmaps::of(const AppIdentity& app, int points, double pixelsPerPoint,
                       const QPalette& palette) {
    const auto text = [](const std::string& part) {
        return QString::fromStdString(part);
    };
    const auto key = QStringList{text(app.id),
                                 text(app.name),
                                 text(app.bundleID.value_or("")),
                                 text(app.path.value_or("")),
                                 QString::number(app.unidentified),
                                 QString::number(points),
                                 QString::number(pixelsPerPoint),
                                 QString::number(palette.color(QPalette::Window).rgba(), 16)}
                         .join(QLatin1Char('\n'));
    if (const auto kept = kept_.constFind(key); kept != kept_.cend()) {
        return *kept;
    }
    if (kept_.size() >= mostKept) {
        kept_.clear();
    }
    return *kept_.insert(key, appPixmap(picture_, app, points, pixelsPerPoint, palette));
}

} // namespace velmoran
