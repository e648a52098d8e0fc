#include "app/screens/AppCells.h"

#include "app/controls/Groups.h"
#include "app/look/AppTile.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "app/look/Symbols.h"
#include "app/screens/SystemProcessNote.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>

namespace velmoran {

namespace {

constexpr int infoSide = 14;
constexpr std::size_t mostKnown = 512;
constexpr int mostCharacters = 300; // to cut a longer text takes long

std::string keyOf(const AppIdentity& app) {
    // Not by its id alone: whether it is a part of the system is a matter of its path.
    return app.id + (app.unidentified ? "\n!\n" : "\n\n") + app.path.value_or("");
}

} // namespace

QString lineText(const std::string& text) {
    auto line = harmlessText(QString::fromStdString(text)).left(mostCharacters).simplified();
    if (!line.isEmpty() && line.back().isHighSurrogate()) {
        line.chop(1);
    }
    return line;
}

bool changesCells(const QEvent& event) {
    switch (event.type()) {
    case QEvent::PaletteChange:
    case QEvent::StyleChange:
    case QEvent::FontChange:
    case QEvent::ThemeChange:
        return true;
    default:
        return false;
    }
}

const AppCells::Known& AppCells::known(const AppIdentity& app) {
    if (known_.size() > mostKnown) {
        known_.clear();
    }
    const auto [found, isNew] = known_.try_emplace(keyOf(app));
    if (isNew) {
        found->second.isSystem = context_.model.systemProcess(app).has_value();
    }
    return found->second;
}

const QPixmap& AppCells::picture(const AppIdentity& app, int side, double scale,
                                 const QPalette& palette) {
    known(app);
    auto& entry = known_[keyOf(app)];
    if (entry.side != side || entry.scale != scale) {
        entry.side = side;
        entry.scale = scale;
        entry.picture = appPixmap(context_.picture, app, side, scale, palette);
    }
    return entry.picture;
}

int AppCells::nameWidth(const Place& place, const AppIdentity& app, const QFont& font) {
    const int left = place.pictureSide + place.gap;
    const int right = known(app).isSystem ? infoSide + place.gap : 0;
    const int room = std::max(0, place.frame.width() - left - right);
    return std::min(room, QFontMetrics(font).horizontalAdvance(lineText(app.name)) + 1);
}

int AppCells::widthOf(const Place& place, const AppIdentity& app, const QFont& font) {
    return place.pictureSide + place.gap +
           QFontMetrics(font).horizontalAdvance(lineText(app.name)) + 1 +
           (known(app).isSystem ? place.gap + infoSide : 0);
}

QRect AppCells::infoFrame(const Place& place, const AppIdentity& app, const QFont& font) {
    if (!known(app).isSystem) {
        return {};
    }
    const int x =
        place.frame.x() + place.pictureSide + place.gap + nameWidth(place, app, font) + place.gap;
    return {x, place.frame.center().y() + 1 - infoSide / 2, infoSide, infoSide};
}

QString AppCells::cutName(const Place& place, const AppIdentity& app, const QFont& font) {
    const auto name = lineText(app.name);
    return QFontMetrics(font).horizontalAdvance(name) > nameWidth(place, app, font) ? name
                                                                                    : QString();
}

QString AppCells::infoName(const AppIdentity& app) {
    const auto process = context_.model.systemProcess(app);
    return process ? QString::fromStdString(SystemProcessContent::of(app.name, *process).help)
                   : QString();
}

QString AppCells::help(const Place& place, const AppIdentity& app, const QFont& font, QPoint at) {
    return isOnInfo(infoFrame(place, app, font), at) ? infoName(app) : cutName(place, app, font);
}

void AppCells::paint(QPainter& painter, const Place& place, const AppIdentity& app,
                     const Style& style) {
    const auto scale = painter.device()->devicePixelRatioF();
    const int side = place.pictureSide;
    painter.drawPixmap(QRect(place.frame.x(), place.frame.center().y() + 1 - side / 2, side, side),
                       picture(app, side, scale, style.palette));
    const int width = nameWidth(place, app, style.font);
    const QRect name(place.frame.x() + side + place.gap, place.frame.y(), width,
                     place.frame.height());
    painter.setFont(style.font);
    painter.setPen(style.text);
    painter.drawText(
        name, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetrics(style.font).elidedText(lineText(app.name), Qt::ElideRight, width));
    if (const auto info = infoFrame(place, app, style.font); !info.isEmpty()) {
        painter.drawPixmap(info, symbolPixmap("info.circle", style.secondary, infoSide, scale));
    }
}

void AppCells::explain(const AppIdentity& app, QWidget* in, const QRect& at) {
    const auto process = context_.model.systemProcess(app);
    if (!process) {
        return;
    }
    if (!anchor_) {
        anchor_ = new QWidget(in);
        anchor_->setAttribute(Qt::WA_TransparentForMouseEvents);
        anchor_->show();
    }
    anchor_->setGeometry(at);
    showNote(anchor_, new SystemProcessNote(SystemProcessContent::of(app.name, *process)));
}

} // namespace velmoran
