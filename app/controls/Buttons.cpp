#include "app/controls/Buttons.h"

#include "app/look/CardColors.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "app/look/Symbols.h"

#include <QChildEvent>
#include <QFontMetricsF>
#include <QHelpEvent>
#include <QLayout>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr double radius = 8;
constexpr int rowHeight = 28;
constexpr int faceHeight = 32;
constexpr int smallFaceHeight = 24;
constexpr int widestButton = 480;
constexpr int keptLettersOfButton = 6;
constexpr double faded = 0.45;

int roundedUp(double length) {
    return static_cast<int>(std::ceil(length));
}

double widthIn(const QFont& font, const QString& text) {
    return QFontMetricsF(font).horizontalAdvance(text.left(1000));
}

QString cutTo(double width, const QFont& font, const QString& text, Qt::TextElideMode mode) {
    return QFontMetricsF(font).elidedText(text.left(1000), mode, width + 0.5);
}

} // namespace

LinkButton::LinkButton(const QString& text, QWidget* parent, TextStyle style)
    : Button(parent),
      style_(style) {
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
    setPlain(text);
}

void LinkButton::setDestructive(bool destructive) {
    setInk(destructive ? Ink::warning : Ink::text);
}

void LinkButton::setInk(Ink ink) {
    ink_ = ink;
    update();
}

QSize LinkButton::sizeHint() const {
    const auto own = velmoran::font(style_, font());
    return {std::min(widestButton, roundedUp(widthIn(own, plainText()))),
            roundedUp(QFontMetricsF(own).height()) + 4};
}

QSize LinkButton::minimumSizeHint() const {
    const auto hint = sizeHint();
    const auto own = velmoran::font(style_, font());
    return {
        std::min(hint.width(), roundedUp(keptLettersOfButton * widthIn(own, QStringLiteral("m")))),
        hint.height()};
}

QString LinkButton::cut() const {
    return cutTo(width(), velmoran::font(style_, font()), plainText(), Qt::ElideRight);
}

void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    auto own = velmoran::font(style_, font());
    own.setUnderline(isEnabled() && (isHovered() || isDown()));
    painter.setFont(own);
    const auto color = inkColor(ink_, *this);
    painter.setPen(isDown() ? mixed(color, ScreenColors(palette()).window, 0.3) : color);
    painter.drawText(QRectF(rect()),
                     static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft) |
                                      Qt::AlignVCenter | Qt::AlignAbsolute) |
                         Qt::TextSingleLine,
                     cut());
}

SymbolButton::SymbolButton(const QString& symbol, int points, int side, QWidget* parent)
    : Button(parent),
      symbol_(symbol),
      points_(points),
      side_(side) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void SymbolButton::setSymbol(const QString& symbol) {
    symbol_ = symbol;
    update();
}

void SymbolButton::setInk(Ink ink) {
    ink_ = ink;
    update();
}

void SymbolButton::setWords(const QString& help, const QString& label) {
    setToolTip(plainToolTip(harmlessText(help)));
    setAccessibleName(harmlessText(label).simplified());
}

void SymbolButton::setCrossed(bool crossed) {
    isCrossed_ = crossed;
    update();
}

QSize SymbolButton::sizeHint() const {
    return {side_, side_};
}

void SymbolButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintWash(painter, rect(), std::min(radius, side_ / 2.0));
    const auto pixmap = symbolPixmap(symbol_, inkColor(ink_, *this), points_, devicePixelRatioF());
    painter.drawPixmap(QPointF((width() - points_) / 2.0, (height() - points_) / 2.0), pixmap);
    if (!isCrossed_) {
        return;
    }
    const ScreenColors colors(palette());
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.translate(QRectF(rect()).center());
    painter.rotate(45);
    // 28 points long on a symbol of 22, and as much of smaller and larger ones.
    const double long_ = points_ * 28 / 22.0;
    const auto bar = [&](double length, double thick, const QColor& color) {
        painter.setBrush(color);
        painter.drawRoundedRect(QRectF(-length / 2, -thick / 2, length, thick), thick / 2,
                                thick / 2);
    };
    bar(long_ + 2, 5, colors.window);
    bar(long_, 2, inkColor(Ink::secondary, *this));
}

FaceButton::FaceButton(const QString& text, Face face, QWidget* parent)
    : Button(parent),
      face_(face) {
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    setPlain(text);
}

void FaceButton::setSmall(bool small) {
    isSmall_ = small;
    updateGeometry();
    refreshToolTip();
}

QFont FaceButton::ownFont() const {
    return velmoran::font(face_ == Face::stop ? TextStyle::headline : TextStyle::body, font());
}

QSize FaceButton::sizeHint() const {
    const auto own = ownFont();
    const auto least = isSmall_ ? smallFaceHeight : faceHeight;
    const auto space = isSmall_ ? 6 : 14;
    return {std::min(widestButton, roundedUp(widthIn(own, plainText())) + 2 * padding()),
            std::max(least, roundedUp(QFontMetricsF(own).height()) + space)};
}

QSize FaceButton::minimumSizeHint() const {
    const auto hint = sizeHint();
    return {std::min(hint.width(), 200), hint.height()};
}

QString FaceButton::cut() const {
    // What it does may stand at either end.
    return cutTo(width() - 2.0 * padding() + 8, ownFont(), plainText(), Qt::ElideMiddle);
}

void FaceButton::paintEvent(QPaintEvent*) {
    const ScreenColors colors(palette());
    const bool isPlain = face_ == Face::plain || face_ == Face::destructive;
    QColor ground = face_ == Face::stop        ? colors.stop
                    : face_ == Face::prominent ? colors.highlight
                                               : mixed(colors.window, colors.text, 0.08);
    QColor ink = face_ == Face::stop          ? colors.stopText
                 : face_ == Face::prominent   ? colors.highlightedText
                 : face_ == Face::destructive ? colors.warning
                                              : colors.text;
    if (isEnabled() && (isHovered() || isDown())) {
        ground = mixed(ground, isPlain ? colors.text : Qt::black, isDown() ? 0.14 : 0.06);
    }
    if (!isEnabled()) {
        ground = mixed(ground, colors.window, 1 - faded);
        ink = mixed(ink, ground, 1 - faded);
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    const auto round = isSmall_ ? 6.0 : radius;
    painter.drawRoundedRect(QRectF(rect()), round, round);
    painter.setFont(ownFont());
    painter.setPen(ink);
    painter.drawText(QRectF(rect()), static_cast<int>(Qt::AlignCenter) | Qt::TextSingleLine, cut());
}

RowButton::RowButton(QWidget* parent) : Button(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize RowButton::sizeHint() const {
    const auto hint = layout() ? layout()->totalSizeHint() : QSize();
    return hint.expandedTo(QSize(0, rowHeight));
}

QSize RowButton::minimumSizeHint() const {
    const auto hint = layout() ? layout()->totalMinimumSize() : QSize();
    return hint.expandedTo(QSize(0, rowHeight));
}

bool RowButton::hasHeightForWidth() const {
    return layout() && layout()->hasHeightForWidth();
}

int RowButton::heightForWidth(int width) const {
    return layout() ? std::max(rowHeight, layout()->totalHeightForWidth(width)) : rowHeight;
}

bool RowButton::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto& help = static_cast<QHelpEvent&>(*event);
        for (const auto* child : findChildren<QWidget*>()) {
            const QRect area(child->mapTo(this, QPoint(0, 0)), child->size());
            if (child->isVisible() && !child->toolTip().isEmpty() && area.contains(help.pos())) {
                QToolTip::showText(help.globalPos(), child->toolTip(), this, area);
                return true;
            }
        }
    }
    return Button::event(event);
}

void RowButton::childEvent(QChildEvent* event) {
    Button::childEvent(event);
    if (event->added() && event->child()->isWidgetType()) {
        static_cast<QWidget*>(event->child())->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
}

void RowButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintWash(painter, rect(), radius);
}

} // namespace velmoran
