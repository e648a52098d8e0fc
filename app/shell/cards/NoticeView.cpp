#include "app/shell/cards/NoticeView.h"

#include "app/look/AppTile.h"
#include "app/look/CardText.h"
#include "app/look/Symbols.h"
#include "app/shell/cards/CardButton.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPainter>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr int margin = 12;
constexpr int pictureSize = 32;
constexpr int pictureGap = 10;
constexpr int lineGap = 3;
constexpr int buttonGap = 8;
constexpr int aboveButtons = 9;
constexpr int closeMargin = 8;
/// A title names an app, and whoever names an app could fill the screen with it.
constexpr int mostTitleLines = 3;
constexpr int mostMessageLines = 12;

QString qt(const std::string& text) {
    return harmlessText(QString::fromStdString(text));
}

QPixmap pictureOf(const NoticeItem& item, const AppPicture& picture, const QPalette& palette,
                  const CardColors& colors, double pixelsPerPoint) {
    if (item.appPath) {
        return item.app ? appPixmap(picture, *item.app, pictureSize, pixelsPerPoint, palette)
                        : symbolPixmap(QStringLiteral("app"), colors.secondary, pictureSize,
                                       pixelsPerPoint);
    }
    if (item.symbol) {
        return symbolPixmap(QString::fromStdString(*item.symbol),
                            item.isStrong ? colors.warning : colors.secondary, pictureSize,
                            pixelsPerPoint);
    }
    return {};
}

QAccessibleInterface* accessibleCard(const QString&, QObject* object) {
    auto* card = dynamic_cast<NoticeView*>(object);
    return card ? new QAccessibleWidget(card, QAccessible::Notification) : nullptr;
}

} // namespace

NoticeView::NoticeView(const NoticeItem& item, const AppPicture& picture, const Clicks& clicks,
                       QWidget* parent)
    : QWidget(parent),
      colors_(palette()),
      picture_(pictureOf(item, picture, palette(), colors_, devicePixelRatioF())) {
    QAccessible::installFactory(&accessibleCard); // once, however often it is called
    setObjectName(QStringLiteral("notice"));
    // One line, so that nobody can write a second sentence into a name.
    const auto title = qt(item.title).simplified();
    setAccessibleName(title);
    const int left = picture_.isNull() ? margin : margin + pictureSize + pictureGap;
    const int textWidth = cardWidth - left - closeMargin - CardCloseButton::side - lineGap;

    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    QFont caption = font();
    caption.setPointSizeF(font().pointSizeF() * 0.85);
    int y = margin;
    const auto addText = [&](const QString& text, const QFont& font, const QColor& color,
                             int mostLines) {
        auto* label = new CardText(text, font, color, textWidth, mostLines, this);
        label->move(left, y);
        y += label->height() + lineGap;
    };
    addText(title, bold, colors_.text, mostTitleLines);
    if (item.message) {
        addText(qt(*item.message), font(), colors_.secondary, mostMessageLines);
        setAccessibleDescription(qt(*item.message).simplified());
    }
    addText(qt(item.timeText), caption, colors_.secondary, 1);
    y -= lineGap;
    if (!item.buttons.empty()) {
        y = addButtons(item, clicks.press, left, y + aboveButtons);
    }
    setFixedSize(cardWidth, std::max(y, margin + pictureSize) + margin);

    auto* close = new CardCloseButton(colors_, this);
    close->move(cardWidth - closeMargin - CardCloseButton::side, closeMargin);
    connect(close, &QToolButton::clicked, this, [action = clicks.close, id = item.id] {
        // Copies, since the click takes this card away.
        const auto run = action;
        const auto itemID = id;
        run(itemID);
    });
}

int NoticeView::addButtons(const NoticeItem& item, const Press& press, int left, int top) {
    int x = left;
    int bottom = top;
    for (const auto& button : item.buttons) {
        auto* made = new CardButton(qt(button.title), button.prominent, colors_, this);
        if (x > left && x + made->width() > cardWidth - margin) {
            x = left;
            top = bottom + buttonGap;
        }
        made->move(x, top);
        x += made->width() + buttonGap;
        bottom = top + made->height();
        connect(made, &QPushButton::clicked, this, [press, id = item.id, which = button.id] {
            const auto action = press;
            const auto itemID = id;
            const auto buttonID = which;
            action(itemID, buttonID);
        });
    }
    return bottom;
}

QString NoticeView::text() const {
    const auto message = accessibleDescription();
    return message.isEmpty() ? accessibleName() : accessibleName() + QStringLiteral(". ") + message;
}

void NoticeView::announce() {
    QAccessibleEvent event(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&event);
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
    // The alert itself goes no further than Qt where the desktop asks by AT-SPI.
    QAccessibleAnnouncementEvent spoken(this, text());
    spoken.setPoliteness(QAccessible::AnnouncementPoliteness::Assertive);
    QAccessible::updateAccessibility(&spoken);
#endif
}

void NoticeView::takeFocus() {
    // In the order in which they were made, and the cross comes last.
    if (auto* first = findChild<QAbstractButton*>()) {
        first->setFocus(Qt::TabFocusReason);
    }
}

void NoticeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (cornersAreCut_) {
        painter.fillRect(rect(), colors_.card);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(colors_.line, 1));
    painter.setBrush(colors_.card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius - 0.5,
                            cornerRadius - 0.5);
    if (!picture_.isNull()) {
        const auto size = picture_.deviceIndependentSize();
        painter.drawPixmap(QPointF(margin + (pictureSize - size.width()) / 2,
                                   margin + (pictureSize - size.height()) / 2),
                           picture_);
    }
}

} // namespace velmoran
