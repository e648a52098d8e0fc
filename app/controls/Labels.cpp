#include "app/controls/Labels.h"

#include "app/controls/Accessibility.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr int widestText = 360;
constexpr int widestLine = 480;
constexpr int narrowestText = 48;
constexpr int leastLetters = 3;   ///< of a line that grows
constexpr int keptLetters = 14;   ///< of one that doesn't
constexpr int mostLetters = 1000; ///< that one line can show on any screen

/// Lays out at that width; gives the height, and where the last line that fits begins.
double layOutLines(QTextLayout& layout, double width, int mostLines) {
    double height = 0;
    layout.beginLayout();
    while (mostLines == 0 || layout.lineCount() < mostLines) {
        auto line = layout.createLine();
        if (!line.isValid()) {
            break;
        }
        line.setLineWidth(width);
        line.setPosition(QPointF(0, height));
        height += line.height();
    }
    layout.endLayout();
    return height;
}

struct LaidOutText {
    explicit LaidOutText(const QLabel& label, TextStyle style, double width, int mostLines) {
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        option.setTextDirection(label.layoutDirection());
        option.setAlignment(QStyle::visualAlignment(label.layoutDirection(), label.alignment()) |
                            Qt::AlignAbsolute);
        QString text = label.text();
        text.replace(QLatin1Char('\n'), QChar::LineSeparator);
        layout.setFont(font(style, label.font()));
        layout.setTextOption(option);
        layout.setText(text);
        height = text.isEmpty() ? 0 : layOutLines(layout, width, mostLines);
        if (layout.lineCount() == 0) {
            return;
        }
        const auto last = layout.lineAt(layout.lineCount() - 1);
        isCut = last.textStart() + last.textLength() < text.size();
        if (isCut) {
            const auto rest = text.mid(last.textStart(), mostLetters)
                                  .replace(QChar::LineSeparator, QLatin1Char(' '));
            layout.setText(text.left(last.textStart()) +
                           QFontMetricsF(layout.font())
                               .elidedText(rest + QChar(0x2026), Qt::ElideRight, width));
            height = layOutLines(layout, width, mostLines);
        }
    }
    QTextLayout layout;
    double height = 0;
    bool isCut = false;
};

bool changesLook(const QEvent& event) {
    switch (event.type()) {
    case QEvent::FontChange:
    case QEvent::StyleChange:
    case QEvent::PaletteChange:
    case QEvent::LayoutDirectionChange:
    case QEvent::EnabledChange:
        return true;
    default:
        return false;
    }
}

} // namespace

TextLabel::TextLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent)
    : QLabel(parent),
      style_(style),
      ink_(ink) {
    makeAccessible();
    setTextFormat(Qt::PlainText);
    setWordWrap(true); // what a label takes its height for a width from
    setPlain(text);
}

void TextLabel::setPlain(const QString& text) {
    const auto harmless = harmlessText(text);
    if (harmless != QLabel::text()) {
        setText(harmless);
        updateGeometry();
        refreshToolTip();
    }
}

void TextLabel::setInk(Ink ink) {
    ink_ = ink;
    update();
}

void TextLabel::setMostLines(int lines) {
    mostLines_ = lines;
    updateGeometry();
    update();
    refreshToolTip();
}

QSize TextLabel::sizeHint() const {
    const LaidOutText laidOut(*this, style_, widestText, mostLines_);
    double width = 0;
    for (int line = 0; line < laidOut.layout.lineCount(); ++line) {
        width = std::max(width, laidOut.layout.lineAt(line).naturalTextWidth());
    }
    return {static_cast<int>(std::ceil(width)), static_cast<int>(std::ceil(laidOut.height))};
}

QSize TextLabel::minimumSizeHint() const {
    const auto hint = sizeHint();
    const auto line = QFontMetricsF(velmoran::font(style_, font())).height();
    return {std::min(hint.width(), narrowestText),
            std::min(hint.height(), static_cast<int>(std::ceil(line)))};
}

int TextLabel::heightForWidth(int width) const {
    return static_cast<int>(
        std::ceil(LaidOutText(*this, style_, std::max(width, narrowestText), mostLines_).height));
}

bool TextLabel::event(QEvent* event) {
    if (changesLook(*event)) {
        updateGeometry();
        update();
    }
    return QLabel::event(event);
}

void TextLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    refreshToolTip();
}

void TextLabel::refreshToolTip() {
    if (mostLines_ > 0) {
        setToolTip(LaidOutText(*this, style_, width(), mostLines_).isCut ? plainToolTip(text())
                                                                         : QString());
    }
}

void TextLabel::paintEvent(QPaintEvent*) {
    const LaidOutText laidOut(*this, style_, width(), mostLines_);
    QPainter painter(this);
    painter.setPen(inkColor(ink_, *this));
    const double free = height() - laidOut.height;
    const double top = alignment() & Qt::AlignBottom    ? free
                       : alignment() & Qt::AlignVCenter ? std::floor(free / 2)
                                                        : 0;
    laidOut.layout.draw(&painter, QPointF(0, std::max(0.0, top)));
}

LineLabel::LineLabel(const QString& text, TextStyle style, Ink ink, QWidget* parent, bool grows)
    : QWidget(parent),
      style_(style),
      ink_(ink),
      grows_(grows) {
    makeAccessible();
    setSizePolicy(grows ? QSizePolicy::Expanding : QSizePolicy::Maximum, QSizePolicy::Fixed);
    setPlain(text);
}

void LineLabel::setPlain(const QString& text) {
    const auto harmless = harmlessText(text).simplified();
    if (harmless == text_) {
        return;
    }
    text_ = harmless;
    setAccessibleName(text_);
    updateGeometry();
    update();
    refreshToolTip();
}

void LineLabel::setInk(Ink ink) {
    ink_ = ink;
    update();
}

void LineLabel::setAlignment(Qt::Alignment alignment) {
    alignment_ = alignment;
    update();
}

QFont LineLabel::ownFont() const {
    return velmoran::font(style_, font());
}

double LineLabel::widthOf(const QString& text) const {
    return isTabular(style_) ? evenWidth(ownFont(), text)
                             : QFontMetricsF(ownFont()).horizontalAdvance(text);
}

QString LineLabel::cut(int width) const {
    const auto text = text_.left(mostLetters);
    const auto over = widthOf(text) - QFontMetricsF(ownFont()).horizontalAdvance(text);
    if (text.size() == text_.size() && widthOf(text) <= width + 0.5) {
        return text;
    }
    return QFontMetricsF(ownFont()).elidedText(text + QChar(0x2026), Qt::ElideRight, width - over);
}

QSize LineLabel::sizeHint() const {
    const auto width = std::min<double>(widestLine, widthOf(text_.left(mostLetters)));
    return {static_cast<int>(std::ceil(width)),
            static_cast<int>(std::ceil(QFontMetricsF(ownFont()).height()))};
}

QSize LineLabel::minimumSizeHint() const {
    const auto hint = sizeHint();
    const auto letters = grows_ ? leastLetters : keptLetters;
    const auto least = letters * QFontMetricsF(ownFont()).horizontalAdvance(QLatin1Char('m'));
    return {std::min(hint.width(), static_cast<int>(std::ceil(least))), hint.height()};
}

bool LineLabel::event(QEvent* event) {
    if (changesLook(*event)) {
        updateGeometry();
        update();
    }
    return QWidget::event(event);
}

void LineLabel::resizeEvent(QResizeEvent*) {
    refreshToolTip();
}

void LineLabel::refreshToolTip() {
    setToolTip(cut(width()) == text_ ? QString() : plainToolTip(text_));
}

void LineLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(ownFont());
    painter.setPen(inkColor(ink_, *this));
    const auto alignment =
        QStyle::visualAlignment(layoutDirection(), alignment_) | Qt::AlignAbsolute;
    const auto text = cut(width());
    if (isTabular(style_)) {
        drawEven(painter, rect(), alignment, text);
    } else {
        painter.drawText(QRectF(rect()), static_cast<int>(alignment) | Qt::TextSingleLine, text);
    }
}

Hairline::Hairline(QWidget* parent, Qt::Orientation orientation)
    : QWidget(parent),
      orientation_(orientation) {
    makeAccessible();
    const bool lies = orientation == Qt::Horizontal;
    setSizePolicy(lies ? QSizePolicy::Expanding : QSizePolicy::Fixed,
                  lies ? QSizePolicy::Fixed : QSizePolicy::Expanding);
}

QSize Hairline::sizeHint() const {
    return {1, 1};
}

void Hairline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const double thin = 1 / devicePixelRatioF();
    painter.fillRect(orientation_ == Qt::Horizontal ? QRectF(0, 0, width(), thin)
                                                    : QRectF(0, 0, thin, height()),
                     ScreenColors(palette()).line);
}

} // namespace velmoran
