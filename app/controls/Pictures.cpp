// The labels that show a picture; declared in Labels.h.
#include "app/controls/Accessibility.h"
#include "app/controls/Labels.h"
#include "app/look/AppTile.h"
#include "app/look/CardColors.h"
#include "app/look/ScreenColors.h"
#include "app/look/Symbols.h"

#include <QEvent>
#include <QPainter>

namespace velmoran {

namespace {

constexpr double paler = 0.55;

void drawCentered(QPainter& painter, const QRect& frame, const QPixmap& pixmap) {
    const auto size = pixmap.deviceIndependentSize();
    painter.drawPixmap(QPointF(frame.x() + (frame.width() - size.width()) / 2,
                               frame.y() + (frame.height() - size.height()) / 2),
                       pixmap);
}

} // namespace

QColor inkColor(Ink ink, const QWidget& widget) {
    const ScreenColors colors(widget.palette());
    const auto color = [&] {
        switch (ink) {
        case Ink::secondary:
            return colors.secondary;
        case Ink::camera:
            return colors.camera;
        case Ink::microphone:
            return colors.microphone;
        case Ink::warning:
            return colors.warning;
        case Ink::stop:
            return colors.stop;
        case Ink::text:
        case Ink::speaker:
            break;
        }
        return colors.text;
    }();
    return widget.isEnabled() ? color : mixed(color, colors.window, paler);
}

SymbolLabel::SymbolLabel(const QString& symbol, int points, Ink ink, QWidget* parent,
                         const QString& accessibleName)
    : QWidget(parent),
      symbol_(symbol),
      points_(points),
      ink_(ink) {
    makeAccessible();
    setAccessibleName(accessibleName);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SymbolLabel::setSymbol(const QString& symbol) {
    symbol_ = symbol;
    update();
}

void SymbolLabel::setInk(Ink ink) {
    ink_ = ink;
    update();
}

QSize SymbolLabel::sizeHint() const {
    return {points_, points_};
}

void SymbolLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    drawCentered(painter, rect(),
                 symbolPixmap(symbol_, inkColor(ink_, *this), points_, devicePixelRatioF()));
}

AppImage::AppImage(const AppPicture& picture, const AppIdentity& app, int points, QWidget* parent)
    : QWidget(parent),
      picture_(picture),
      app_(app),
      points_(points) {
    makeAccessible();
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void AppImage::setApp(const AppIdentity& app) {
    if (!(app == app_)) {
        app_ = app;
        drawn_ = {};
        update();
    }
}

QSize AppImage::sizeHint() const {
    return {points_, points_};
}

bool AppImage::event(QEvent* event) {
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange ||
        event->type() == QEvent::FontChange) {
        drawn_ = {};
        update();
    }
    return QWidget::event(event);
}

void AppImage::paintEvent(QPaintEvent*) {
    if (drawn_.isNull() || drawn_.devicePixelRatio() != devicePixelRatioF()) {
        drawn_ = appPixmap(picture_, app_, points_, devicePixelRatioF(), palette());
    }
    QPainter painter(this);
    drawCentered(painter, rect(), drawn_);
}

} // namespace velmoran
