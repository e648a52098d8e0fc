// Declared in Choices.h.
#include "app/controls/Accessibility.h"
#include "app/controls/Choices.h"
#include "app/look/CardColors.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "app/look/Symbols.h"

#include <QFontMetricsF>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr int trough = 2;
constexpr int segmentHeight = 24;
constexpr int segmentPadding = 12;
constexpr int symbolSegment = 36;
constexpr int leastSegment = 28;
constexpr int segmentSymbol = 16;
constexpr double troughRadius = 8;
constexpr double segmentRadius = 6;

class SegmentButton final : public Button {
public:
    SegmentButton(const SegmentedControl::Segment& segment, QWidget* parent)
        : Button(parent),
          symbol_(segment.symbol) {
        setCheckable(true);
        setAutoExclusive(true); // what makes it a radio button for a screen reader
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        const auto label = harmlessText(segment.label).simplified();
        setAccessibleName(label);
        if (symbol_.isEmpty()) {
            setPlain(label);
        } else {
            setToolTip(plainToolTip(label));
        }
    }
    QSize sizeHint() const override {
        if (!symbol_.isEmpty()) {
            return {symbolSegment, segmentHeight};
        }
        const QFontMetricsF metrics(velmoran::font(TextStyle::headline, font()));
        return {static_cast<int>(std::ceil(metrics.horizontalAdvance(plainText()))) +
                    2 * segmentPadding,
                std::max(segmentHeight, static_cast<int>(std::ceil(metrics.height())) + 6)};
    }
    /// Narrower it would be neither read nor hit.
    QSize minimumSizeHint() const override {
        return {std::min(leastSegment, sizeHint().width()), sizeHint().height()};
    }

protected:
    double focusRadius() const override { return segmentRadius; }
    void paintEvent(QPaintEvent*) override {
        const ScreenColors colors(palette());
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isChecked()) {
            const auto face = colors.isDark ? mixed(colors.window, colors.text, 0.26)
                                            : mixed(colors.window, Qt::white, 0.85);
            painter.setPen(QPen(mixed(colors.window, colors.text, colors.isDark ? 0.3 : 0.22),
                                1 / devicePixelRatioF()));
            painter.setBrush(face);
            const double half = 0.5 / devicePixelRatioF();
            painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half),
                                    segmentRadius, segmentRadius);
        } else {
            paintWash(painter, rect(), segmentRadius);
        }
        const auto ink = inkColor(Ink::text, *this);
        if (!symbol_.isEmpty()) {
            const auto pixmap = symbolPixmap(symbol_, ink, segmentSymbol, devicePixelRatioF());
            painter.drawPixmap(
                QPointF((width() - segmentSymbol) / 2.0, (height() - segmentSymbol) / 2.0), pixmap);
            return;
        }
        painter.setFont(
            velmoran::font(isChecked() ? TextStyle::headline : TextStyle::body, font()));
        painter.setPen(ink);
        painter.drawText(QRectF(rect()), static_cast<int>(Qt::AlignCenter) | Qt::TextSingleLine,
                         cut());
    }
    QString cut() const override {
        const auto own =
            velmoran::font(isChecked() ? TextStyle::headline : TextStyle::body, font());
        return QFontMetricsF(own).elidedText(plainText(), Qt::ElideRight, width() - 8);
    }

private:
    QString symbol_;
};

} // namespace

SegmentedControl::SegmentedControl(const QString& accessibleName, const QList<Segment>& segments,
                                   QWidget* parent)
    : QWidget(parent),
      group_(new QButtonGroup(this)) {
    makeAccessible();
    setAccessibleName(harmlessText(accessibleName).simplified());
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(trough, trough, trough, trough);
    row->setSpacing(trough);
    for (qsizetype index = 0; index < segments.size(); ++index) {
        auto* button = new SegmentButton(segments[index], this);
        group_->addButton(button, static_cast<int>(index));
        row->addWidget(button);
    }
    setCurrent(0);
    connect(group_, &QButtonGroup::idClicked, this, [this](int index) { choose(index); });
}

void SegmentedControl::setCurrent(int index) {
    if (auto* button = group_->button(index)) {
        current_ = index;
        button->setChecked(true);
        // Qt leaves the one stop of the Tab key where the focus was last.
        for (auto* each : group_->buttons()) {
            each->setFocusPolicy(each == button ? Qt::StrongFocus : Qt::ClickFocus);
        }
    }
}

void SegmentedControl::choose(int index) {
    if (index == current_) {
        return;
    }
    setCurrent(index);
    if (onChoose) {
        onChoose(index);
    }
}

QSize SegmentedControl::sizeHint() const {
    return layout()->totalSizeHint();
}

void SegmentedControl::keyPressEvent(QKeyEvent* event) {
    const auto count = group_->buttons().size();
    if ((event->key() != Qt::Key_Home && event->key() != Qt::Key_End) || count == 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    auto* button = group_->button(event->key() == Qt::Key_Home ? 0 : static_cast<int>(count) - 1);
    button->setFocus(Qt::TabFocusReason);
    button->click();
}

void SegmentedControl::paintEvent(QPaintEvent*) {
    const ScreenColors colors(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(colors.window, colors.text, 0.08));
    painter.drawRoundedRect(QRectF(rect()), troughRadius, troughRadius);
}

} // namespace velmoran
