#include "app/shell/tray/StatusIcons.h"

#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "core/warnings/ListeningWording.h"
#include "core/warnings/UnwatchedWording.h"
#include "core/warnings/UseWording.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPainterPathStroker>
#include <QPen>
#include <QStandardPaths>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

const QColor alertRed(0xff, 0x3b, 0x30);
const QColor alertEdge(0x14, 0x14, 0x14);

/// How far the line around reaches, in points and at least in pixels.
constexpr double outlineWidth = 1.2;
constexpr double leastOutline = 1.7;
constexpr double ringWidth = 1.6;

QRectF inset(double by) {
    return QRectF(0, 0, statusIconSize, statusIconSize).adjusted(by, by, -by, -by);
}

QPainterPath circle(double insetBy) {
    QPainterPath path;
    path.addEllipse(inset(insetBy));
    return path;
}

/// A ring around a dot: nothing is in use. Dashed while the away watch is on.
QPainterPath ring(bool dashed, double pixelsPerPoint) {
    // In the smallest trays all of it would lie between pixels.
    const double width = pixelsPerPoint < 1 ? 2 / pixelsPerPoint : ringWidth;
    QPainterPathStroker stroker;
    stroker.setWidth(width);
    if (dashed) {
        // Qt counts dashes in widths of the pen.
        stroker.setCapStyle(Qt::FlatCap);
        stroker.setDashPattern({2.4 / width, 2.0 / width});
    }
    auto path = stroker.createStroke(circle(2.5));
    path.addPath(circle(6.5));
    return path;
}

QPainterPath filledRing() {
    QPainterPath path;
    path.setFillRule(Qt::OddEvenFill);
    path.addEllipse(inset(1.7));
    path.addEllipse(inset(6.5));
    return path;
}

void draw(QPainter& painter, const QPainterPath& path, const IconInk& ink) {
    if (ink.outline.isValid()) {
        const double width = std::max(outlineWidth, leastOutline / painter.transform().m11());
        painter.strokePath(
            path, QPen(ink.outline, 2 * width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    }
    painter.fillPath(path, ink.ink);
}

/// A bold exclamation mark of ten points, drawn so that it needs no font. It stands out from its
/// disc whatever that lies on.
void drawAlert(QPainter& painter, const IconInk& ink) {
    painter.setPen(ink.outline.isValid() ? QPen(alertEdge, 1.0) : QPen(Qt::NoPen));
    painter.setBrush(alertRed);
    painter.drawEllipse(inset(1.0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    QPainterPath stroke;
    stroke.moveTo(7.7, 4);
    stroke.lineTo(10.3, 4);
    stroke.lineTo(9.95, 10);
    stroke.lineTo(8.05, 10);
    stroke.closeSubpath();
    painter.drawPath(stroke);
    painter.drawEllipse(QRectF(7.8, 11.7, 2.4, 2.4));
}

/// Draws at whatever size is asked for, and has the name of the installed file.
class StatusIconEngine final : public QIconEngine {
public:
    StatusIconEngine(StatusIconState state, const IconInk& ink)
        : state_(state),
          ink_(ink),
          name_(isInstalled(state) ? statusIconName(state) : QString()) {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode, QIcon::State) override {
        const int side = std::min(place.width(), place.height());
        const QRect square(place.x() + (place.width() - side) / 2,
                           place.y() + (place.height() - side) / 2, side, side);
        const double sharpness = painter->device()->devicePixelRatio();
        painter->drawImage(square, imageOf(std::lround(side * sharpness)));
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode, QIcon::State) override {
        return QPixmap::fromImage(imageOf(std::min(size.width(), size.height())));
    }
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        QList<QSize> sizes;
        for (const int side : {16, 18, 20, 22, 24, 32, 36, 44, 48, 64}) {
            sizes.append(QSize(side, side));
        }
        return sizes;
    }
    QSize actualSize(const QSize& size, QIcon::Mode, QIcon::State) override { return size; }
    QString iconName() override { return name_; }
    bool isNull() override { return false; }
    QIconEngine* clone() const override { return new StatusIconEngine(*this); }

private:
    static bool isInstalled(StatusIconState state) {
        const auto folder = state == StatusIconState::alert ? "scalable" : "symbolic";
        return !QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                       QStringLiteral("icons/hicolor/%1/apps/%2.svg")
                                           .arg(QLatin1String(folder), statusIconName(state)))
                    .isEmpty();
    }
    QImage imageOf(long side) const {
        return statusIconImage(state_, ink_,
                               static_cast<double>(std::max(side, 1L)) / statusIconSize);
    }

    StatusIconState state_;
    IconInk ink_;
    QString name_;
};

/// Some trays read a tool tip as markup and others don't, so that signs of it can't be escaped.
std::string withoutMarkup(const std::string& text) {
    return QString::fromStdString(plainLine(text))
        .replace(QLatin1Char('<'), QChar(0x2039))
        .replace(QLatin1Char('>'), QChar(0x203a))
        .replace(QLatin1Char('&'), QChar(0xff06))
        .toStdString();
}

std::string labelOf(StatusIconState state, bool seesAll,
                    const std::vector<AppIdentity>& listeners) {
    switch (state) {
    case StatusIconState::idle:
        return seesAll ? words().text("Velmoran: camera and microphone are off")
                       : words().text("Velmoran: not everything is being watched");
    case StatusIconState::inUse: {
        if (listeners.empty()) {
            return words().text("Velmoran: camera or microphone in use");
        }
        std::vector<std::string> names;
        for (const auto& app : listeners) {
            names.push_back(withoutMarkup(app.name));
        }
        return "Velmoran: " + ListeningWording::onlySystem(names);
    }
    case StatusIconState::alert:
        return words().text("Velmoran: a warning is waiting");
    case StatusIconState::awayWatch:
        return words().text("Velmoran: Away watch is on");
    }
    return {};
}

} // namespace

QImage statusIconImage(StatusIconState state, const IconInk& ink, double pixelsPerPoint) {
    const int side = static_cast<int>(std::lround(statusIconSize * pixelsPerPoint));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(side / double(statusIconSize), side / double(statusIconSize));
    switch (state) {
    case StatusIconState::idle:
        draw(painter, ring(false, pixelsPerPoint), ink);
        break;
    case StatusIconState::inUse:
        draw(painter, filledRing(), ink);
        break;
    case StatusIconState::alert:
        drawAlert(painter, ink);
        break;
    case StatusIconState::awayWatch:
        draw(painter, ring(true, pixelsPerPoint), ink);
        break;
    }
    return image;
}

QIcon statusIcon(StatusIconState state, const IconInk& ink) {
    return QIcon(new StatusIconEngine(state, ink));
}

QString statusIconName(StatusIconState state) {
    const QString start = QStringLiteral("org.velmoran.Velmoran-");
    switch (state) {
    case StatusIconState::idle:
        return start + QStringLiteral("idle-symbolic");
    case StatusIconState::inUse:
        return start + QStringLiteral("in-use-symbolic");
    case StatusIconState::alert:
        return start + QStringLiteral("alert");
    case StatusIconState::awayWatch:
        return start + QStringLiteral("away-watch-symbolic");
    }
    return {};
}

std::string statusIconLabel(StatusIconState state, const std::vector<Device>& unwatched,
                            const std::vector<UsageSession>& uses,
                            const std::vector<AppIdentity>& listeners) {
    auto label =
        labelOf(state, unwatched.empty(), uses.empty() ? listeners : std::vector<AppIdentity>());
    for (const auto& use : UseWording::lines(uses)) {
        label += '\n' + withoutMarkup(use);
    }
    for (const auto& reason : UnwatchedWording::reasons(unwatched)) {
        label += '\n' + reason;
    }
    return label;
}

} // namespace velmoran
