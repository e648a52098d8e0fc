#include "app/controls/Choices.h"

#include "app/controls/Groups.h"
#include "app/look/CardColors.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QVariantAnimation>
#include <QWheelEvent>

namespace velmoran {

namespace {

constexpr int switchWidth = 36;
constexpr int switchHeight = 20;
constexpr int slideTime = 150; // ms
constexpr int rowMargin = 6;
constexpr int noteGap = 2;
constexpr int controlGap = 16;

/// A button with words of its own needs no other name.
bool saysItself(const QWidget& control) {
    const auto* button = qobject_cast<const QAbstractButton*>(&control);
    return button && !button->text().isEmpty();
}

class Picker final : public QComboBox {
public:
    using QComboBox::QComboBox;

protected:
    void wheelEvent(QWheelEvent* event) override { event->ignore(); }
    /// What would take another entry unseen shows them all instead.
    void keyPressEvent(QKeyEvent* event) override {
        if (takesAnEntry(*event)) {
            showPopup();
        } else {
            QComboBox::keyPressEvent(event);
        }
    }

private:
    static bool takesAnEntry(const QKeyEvent& event) {
        switch (event.key()) {
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
            return true;
        default:
            return !event.text().isEmpty() && event.text().front().isPrint();
        }
    }
};

} // namespace

Switch::Switch(const QString& accessibleName, QWidget* parent)
    : Button(parent),
      sliding_(new QVariantAnimation(this)) {
    setCheckable(true);
    setAccessibleName(harmlessText(accessibleName).simplified());
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    sliding_->setDuration(slideTime);
    sliding_->setEasingCurve(QEasingCurve::OutCubic);
    connect(sliding_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        place_ = value.toDouble();
        update();
    });
}

QSize Switch::sizeHint() const {
    return {switchWidth, switchHeight};
}

double Switch::focusRadius() const {
    return switchHeight / 2.0;
}

void Switch::checkStateSet() {
    Button::checkStateSet();
    slide();
}

void Switch::nextCheckState() {
    Button::nextCheckState();
    slide();
}

void Switch::slide() {
    const double wanted = isChecked() ? 1 : 0;
    sliding_->stop();
    if (!isVisible() || wantsLessMotion()) {
        place_ = wanted;
        update();
        return;
    }
    sliding_->setStartValue(place_);
    sliding_->setEndValue(wanted);
    sliding_->start();
}

void Switch::paintEvent(QPaintEvent*) {
    const ScreenColors colors(palette());
    const double share = layoutDirection() == Qt::RightToLeft ? 1 - place_ : place_;
    const auto faded = [&](const QColor& color) {
        return isEnabled() ? color : mixed(color, colors.window, 0.55);
    };
    const QColor off = mixed(colors.window, colors.text, isHovered() ? 0.16 : 0.1);
    const QColor on = isHovered() ? mixed(colors.highlight, Qt::black, 0.06) : colors.highlight;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto track = QRectF((width() - switchWidth) / 2.0, (height() - switchHeight) / 2.0,
                              switchWidth, switchHeight);
    const auto edge = track.adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(QPen(faded(mixed(colors.secondary, on, place_)), 1));
    painter.setBrush(faded(mixed(off, on, place_)));
    painter.drawRoundedRect(edge, edge.height() / 2, edge.height() / 2);
    const double knob = 12 + 2 * place_;
    const double from = track.left() + switchHeight / 2.0;
    const QPointF center(from + share * (switchWidth - switchHeight), track.center().y());
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(mixed(colors.secondary, colors.highlightedText, place_)));
    painter.drawEllipse(center, knob / 2, knob / 2);
}

FormRow::FormRow(const QString& title, const QString& note, QWidget* control, QWidget* parent)
    : QWidget(parent),
      title_(new TextLabel(title, TextStyle::body, Ink::text, this)),
      note_(new TextLabel(note, TextStyle::caption, Ink::secondary, this)),
      control_(control),
      namesControl_(control && control->accessibleName().isEmpty() && !saysItself(*control)),
      describesControl_(control && control->accessibleDescription() == control->accessibleName()) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, rowMargin, 0, rowMargin);
    row->setSpacing(controlGap);
    auto* words = new QVBoxLayout;
    words->setSpacing(noteGap);
    words->addStretch();
    words->addWidget(title_);
    words->addWidget(note_);
    words->addStretch();
    row->addLayout(words, 1);
    if (control_) {
        row->addWidget(control_, 0, Qt::AlignVCenter);
    }
    if (control_) {
        title_->setBuddy(control_);
    }
    setTitle(title);
    setNote(note);
}

void FormRow::setTitle(const QString& title) {
    title_->setPlain(title);
    if (namesControl_) {
        control_->setAccessibleName(title_->text().simplified());
    }
}

void FormRow::setNote(const QString& note) {
    note_->setPlain(note);
    note_->setVisible(!note.isEmpty());
    if (describesControl_) {
        const bool isPicker = qobject_cast<QComboBox*>(control_);
        control_->setAccessibleDescription(isPicker && note.isEmpty() ? control_->accessibleName()
                                                                      : note_->text().simplified());
    }
}

void FormRow::mousePressEvent(QMouseEvent* event) {
    event->setAccepted(event->button() == Qt::LeftButton);
}

void FormRow::mouseReleaseEvent(QMouseEvent* event) {
    auto* button = dynamic_cast<Switch*>(control_);
    const auto words = title_->geometry() | (note_->isHidden() ? QRect() : note_->geometry());
    if (button && event->button() == Qt::LeftButton &&
        words.contains(event->position().toPoint())) {
        button->click();
    }
}

QComboBox* makePicker(const QString& accessibleName, const QList<QString>& entries,
                      QWidget* parent) {
    auto* picker = new Picker(parent);
    const auto name = harmlessText(accessibleName).simplified();
    picker->setAccessibleName(name);
    // On Unix, Qt gives screen readers the chosen entry for the name.
    picker->setAccessibleDescription(name);
    picker->setFocusPolicy(Qt::StrongFocus);
    picker->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    for (const auto& entry : entries) {
        picker->addItem(harmlessText(entry).simplified());
    }
    return picker;
}

} // namespace velmoran
