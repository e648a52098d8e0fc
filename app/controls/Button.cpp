// What all buttons share; declared in Buttons.h.
#include "app/controls/Accessibility.h"
#include "app/controls/Buttons.h"
#include "app/controls/FocusRing.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPointer>
#include <QShortcut>

namespace velmoran {

namespace {

constexpr float pressedWash = 0.12F;

bool isEnter(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

/// Whether the person pressed the mouse last. A window that opens gives its first control the focus
/// as Tab does, also after a click.
class LastInput final : public QObject {
public:
    using QObject::QObject;
    static LastInput& get() {
        static QPointer<LastInput> input;
        if (!input) {
            input = new LastInput(qApp);
            qApp->installEventFilter(input);
        }
        return *input;
    }
    bool wasMouse() const { return wasMouse_; }

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::KeyPress) {
            wasMouse_ = false;
        } else if (event->type() == QEvent::MouseButtonPress) {
            wasMouse_ = true;
        }
        return false;
    }

private:
    bool wasMouse_ = false;
};

bool isOfKeyboard(Qt::FocusReason reason) {
    // A window that gets the keyboard shows where: another one may have had the ring meanwhile.
    return !LastInput::get().wasMouse() &&
           (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason ||
            reason == Qt::ShortcutFocusReason || reason == Qt::ActiveWindowFocusReason);
}

} // namespace

Button::Button(QWidget* parent) : QAbstractButton(parent) {
    makeAccessible();
    LastInput::get();
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
}

Button::~Button() {
    FocusRing::hide(*this);
}

void Button::setPlain(const QString& text) {
    const auto line = harmlessText(text).simplified();
    if (line != plainText()) {
        setText(QString(line).replace(QLatin1Char('&'), QLatin1String("&&")));
        updateGeometry();
        refreshToolTip();
    }
}

void Button::refreshToolTip() {
    const auto whole = plainText();
    const auto wanted = cut() == whole ? QString() : plainToolTip(whole);
    if (wanted != ownToolTip_ && toolTip() == ownToolTip_) {
        setToolTip(wanted);
        ownToolTip_ = wanted;
    }
}

void Button::resizeEvent(QResizeEvent* event) {
    QAbstractButton::resizeEvent(event);
    refreshToolTip();
}

QString Button::plainText() const {
    return text().replace(QLatin1String("&&"), QLatin1String("&"));
}

void Button::setIsDefault() {
    for (const auto key : {Qt::Key_Return, Qt::Key_Enter}) {
        auto* shortcut = new QShortcut(key, this);
        connect(shortcut, &QShortcut::activated, this, [this] { click(); });
    }
}

bool Button::showsFocus() const {
    return FocusRing::target() == this;
}

bool Button::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::HoverEnter:
        isHovered_ = true;
        update();
        break;
    case QEvent::HoverLeave:
        isHovered_ = false;
        update();
        break;
    case QEvent::FontChange:
    case QEvent::StyleChange:
        updateGeometry();
        refreshToolTip();
        break;
    case QEvent::ShortcutOverride:
        // Ours before the window's default button.
        if (isEnter(static_cast<QKeyEvent&>(*event))) {
            event->accept();
            return true;
        }
        break;
    default:
        break;
    }
    return QAbstractButton::event(event);
}

void Button::focusInEvent(QFocusEvent* event) {
    QAbstractButton::focusInEvent(event);
    if (isOfKeyboard(event->reason())) {
        FocusRing::show(*this, focusFrame(), focusRadius());
    }
}

bool Button::focusNextPrevChild(bool next) {
    const bool isDone = QAbstractButton::focusNextPrevChild(next);
    if (hasFocus()) { // alone in its window, it hears of no change
        FocusRing::show(*this, focusFrame(), focusRadius());
    }
    return isDone;
}

void Button::focusOutEvent(QFocusEvent* event) {
    QAbstractButton::focusOutEvent(event);
    // Another window for a while changes nothing here.
    if (event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason) {
        FocusRing::hide(*this);
    }
}

void Button::mousePressEvent(QMouseEvent* event) {
    FocusRing::hide(*this);
    QAbstractButton::mousePressEvent(event);
}

void Button::keyPressEvent(QKeyEvent* event) {
    if (isEnter(*event) && !event->isAutoRepeat()) {
        click();
        return;
    }
    QAbstractButton::keyPressEvent(event);
}

void Button::paintWash(QPainter& painter, const QRectF& frame, double radius) const {
    if (!isEnabled() || (!isDown() && !isHovered_)) {
        return;
    }
    QColor wash = ScreenColors(palette()).hover;
    if (isDown()) {
        wash.setAlphaF(pressedWash);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash);
    painter.drawRoundedRect(frame, radius, radius);
}

} // namespace velmoran
