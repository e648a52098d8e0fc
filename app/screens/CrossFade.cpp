#include "app/screens/CrossFade.h"

#include "app/controls/Groups.h"

#include <QPainter>
#include <QPixmap>
#include <QVariantAnimation>

namespace velmoran {

namespace {

/// A picture of a widget, above it, that goes by itself. It stands beside the widget, since a stack
/// raises its next page above all its children.
class FadingPicture final : public QWidget {
public:
    FadingPicture(QWidget* over, int milliseconds)
        : QWidget(over->parentWidget()),
          picture_(over->grab()) {
        setObjectName(QStringLiteral("fadingPicture"));
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setGeometry(over->geometry());
        fading_.setDuration(milliseconds);
        fading_.setEasingCurve(QEasingCurve::InOutQuad);
        fading_.setStartValue(1.0);
        fading_.setEndValue(0.0);
        connect(&fading_, &QVariantAnimation::valueChanged, this, [this] { update(); });
        connect(&fading_, &QVariantAnimation::finished, this, &QObject::deleteLater);
        fading_.start();
        show();
        raise();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setOpacity(fading_.currentValue().toDouble());
        painter.drawPixmap(0, 0, picture_);
    }

private:
    QPixmap picture_;
    QVariantAnimation fading_;
};

} // namespace

void fadeOut(QWidget* over, int milliseconds) {
    if (over->isVisible() && !wantsLessMotion()) {
        new FadingPicture(over, milliseconds);
    }
}

} // namespace velmoran
