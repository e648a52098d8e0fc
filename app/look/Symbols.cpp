#include "app/look/Symbols.h"

#include "app/look/SymbolShapes.h"
#include "app/look/SymbolTable.h"

#include <QPainter>
#include <QPen>
#include <QPixmapCache>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr double grid = 24;

struct SymbolAlias {
    QLatin1String name;
    std::string_view file;
};

const SymbolAlias aliases[] = {
    {QLatin1String("checkmark"), "check"},
    {QLatin1String("checkmark.circle"), "done"},
    {QLatin1String("checkmark.shield.fill"), "trusted"},
    {QLatin1String("chart.xyaxis.line"), "chart"},
    {QLatin1String("chevron"), "unfold"},
    {QLatin1String("chevron.down"), "fold"},
    {QLatin1String("chevron.left"), "back"},
    {QLatin1String("chevron.right"), "unfold"},
    {QLatin1String("exclamationmark"), "attention"},
    {QLatin1String("exclamationmark.circle"), "failed"},
    {QLatin1String("eye.slash.fill"), "unseen"},
    {QLatin1String("hand.raised.fill"), "control"},
    {QLatin1String("info.circle"), "information"},
    {QLatin1String("list.bullet"), "list"},
    {QLatin1String("lock.fill"), "private"},
    {QLatin1String("megaphone.fill"), "always-warn"},
    {QLatin1String("mic.fill"), "microphone"},
    {QLatin1String("mic.slash.fill"), "microphone-muted"},
    {QLatin1String("speaker.slash"), "speaker-muted"},
    {QLatin1String("speaker.slash.fill"), "speaker-muted"},
    {QLatin1String("speaker.wave.2"), "speaker"},
    {QLatin1String("speaker.wave.2.fill"), "speaker"},
    {QLatin1String("stop.fill"), "stop"},
    {QLatin1String("video.fill"), "camera"},
    {QLatin1String("xmark"), "close"},
};

const SymbolEntry* entryNamed(const QString& name) {
    const auto alias = std::ranges::find(aliases, name, &SymbolAlias::name);
    const auto file = alias != std::end(aliases) ? std::string(alias->file) : name.toStdString();
    const auto table = symbolTable();
    const auto entry = std::ranges::find(table, file, &SymbolEntry::name);
    return entry != table.end() ? &*entry : nullptr;
}

QPixmap drawnSymbol(const SymbolEntry& entry, const QColor& ink, int side) {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / grid, side / grid);
    // Opaque here, since the forms of one symbol may lie over each other.
    QColor opaque = ink;
    opaque.setAlpha(255);
    for (const auto& shape : symbolShapes(entry.svg)) {
        painter.setBrush(shape.isFilled ? QBrush(opaque) : QBrush(Qt::NoBrush));
        painter.setPen(shape.lineWidth > 0 ? QPen(opaque, shape.lineWidth, Qt::SolidLine,
                                                  Qt::RoundCap, Qt::RoundJoin)
                                           : QPen(Qt::NoPen));
        painter.drawPath(shape.path);
    }
    if (ink.alpha() < 255) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
        painter.fillRect(QRectF(0, 0, grid, grid), QColor(0, 0, 0, ink.alpha()));
    }
    return pixmap;
}

} // namespace

bool hasSymbol(const QString& name) {
    return entryNamed(name) != nullptr;
}

QPixmap symbolPixmap(const QString& name, const QColor& ink, int points, double pixelsPerPoint) {
    const auto* entry = entryNamed(name);
    if (!entry) {
        entry = entryNamed(QStringLiteral("failed"));
    }
    const int side = static_cast<int>(std::lround(points * pixelsPerPoint));
    const auto key = QStringLiteral("velmoran symbol %1 %2 %3")
                         .arg(QLatin1String(entry->name.data(), qsizetype(entry->name.size())))
                         .arg(ink.rgba(), 0, 16)
                         .arg(side);
    QPixmap pixmap;
    if (!QPixmapCache::find(key, &pixmap)) {
        pixmap = drawnSymbol(*entry, ink, side);
        QPixmapCache::insert(key, pixmap);
    }
    pixmap.setDevicePixelRatio(pixelsPerPoint);
    return pixmap;
}

} // namespace velmoran
