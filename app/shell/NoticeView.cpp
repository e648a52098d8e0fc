#include "app/shell/NoticeView.h"

#include "app/shell/Symbols.h"
#include "core/text/Localizer.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

namespace {

constexpr int pictureSize = 32;

QString qt(const std::string& text) {
    return QString::fromStdString(text);
}

QColor mixed(const QColor& one, const QColor& other, double share) {
    const auto part = [share](float a, float b) {
        return static_cast<float>(static_cast<double>(a) * (1 - share) +
                                  static_cast<double>(b) * share);
    };
    return QColor::fromRgbF(part(one.redF(), other.redF()), part(one.greenF(), other.greenF()),
                            part(one.blueF(), other.blueF()));
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::Window).lightness() < 128;
}

QColor cardColor(const QPalette& palette) {
    return isDark(palette) ? mixed(palette.color(QPalette::Window), Qt::white, 0.05)
                           : palette.color(QPalette::Base);
}

QColor secondaryColor(const QPalette& palette) {
    return mixed(palette.color(QPalette::WindowText), cardColor(palette), 0.38);
}

QColor warningColor(const QPalette& palette) {
    return isDark(palette) ? QColor(0xff, 0x69, 0x61) : QColor(0xd7, 0x00, 0x15);
}

QLabel* label(const QString& text, const QFont& font, const QColor& color, QWidget* parent) {
    auto* made = new QLabel(text, parent);
    made->setTextFormat(Qt::PlainText);
    made->setWordWrap(true);
    made->setFont(font);
    QPalette palette = made->palette();
    palette.setColor(QPalette::WindowText, color);
    made->setPalette(palette);
    return made;
}

QPixmap pictureOf(const NoticeItem& item, const AppPicture& picture, const QPalette& palette,
                  double pixelsPerPoint) {
    if (item.appPath) {
        if (const auto icon = picture ? picture(*item.appPath) : QIcon(); !icon.isNull()) {
            return icon.pixmap(QSize(pictureSize, pictureSize), pixelsPerPoint);
        }
        return symbolPixmap("app", secondaryColor(palette), pictureSize, pixelsPerPoint);
    }
    if (item.symbol || item.isStrong) {
        return symbolPixmap(qt(item.symbol.value_or("exclamationmark.circle")),
                            item.isStrong ? warningColor(palette) : secondaryColor(palette),
                            pictureSize, pixelsPerPoint);
    }
    return {};
}

/// Looks like a button that belongs to the card, prominent or not, in light and dark.
QString buttonStyle(const QPalette& palette, bool prominent) {
    const QColor text = palette.color(QPalette::WindowText);
    const QColor card = cardColor(palette);
    const QColor face = prominent ? palette.color(QPalette::Highlight) : mixed(card, text, 0.09);
    const QColor ink = prominent ? palette.color(QPalette::HighlightedText) : text;
    const QColor over = mixed(face, prominent ? card : text, 0.12);
    const QColor down = mixed(face, text, 0.22);
    return QStringLiteral("QPushButton { background: %1; color: %2; border: none; "
                          "border-radius: 6px; padding: 5px 14px; }"
                          "QPushButton:hover { background: %3; }"
                          "QPushButton:pressed { background: %4; }")
        .arg(face.name(), ink.name(), over.name(), down.name());
}

} // namespace

NoticeView::NoticeView(const NoticeItem& item, const AppPicture& picture, Clicks clicks,
                       QWidget* parent)
    : QWidget(parent) {
    const QPalette colors = palette();
    const QFont body = font();
    QFont bold = body;
    bold.setWeight(QFont::DemiBold);
    QFont caption = body;
    caption.setPointSizeF(body.pointSizeF() * 0.85);

    setObjectName("notice");
    setAccessibleName(qt(item.title));

    auto* columns = new QHBoxLayout(this);
    columns->setContentsMargins(12, 12, 8, 12);
    columns->setSpacing(10);

    if (const auto pixmap = pictureOf(item, picture, colors, devicePixelRatioF());
        !pixmap.isNull()) {
        auto* image = new QLabel(this);
        image->setObjectName("picture");
        image->setFixedSize(pictureSize, pictureSize);
        image->setPixmap(pixmap);
        columns->addWidget(image, 0, Qt::AlignTop);
    }

    auto* column = new QVBoxLayout;
    column->setSpacing(3);
    column->addWidget(label(qt(item.title), bold, colors.color(QPalette::WindowText), this));
    if (item.message) {
        column->addWidget(label(qt(*item.message), body, secondaryColor(colors), this));
    }
    column->addWidget(label(qt(item.timeText), caption, secondaryColor(colors), this));
    if (!item.buttons.empty()) {
        column->addSpacing(6);
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        for (const auto& button : item.buttons) {
            auto* made = new QPushButton(qt(button.title), this);
            made->setFocusPolicy(Qt::NoFocus);
            made->setCursor(Qt::PointingHandCursor);
            made->setStyleSheet(buttonStyle(colors, button.prominent));
            made->setProperty("prominent", button.prominent);
            connect(made, &QPushButton::clicked, this,
                    [press = clicks.press, id = item.id, which = button.id] {
                        // Copies, since the click may take this card away.
                        const auto action = press;
                        const auto itemID = id;
                        const auto buttonID = which;
                        action(itemID, buttonID);
                    });
            row->addWidget(made);
        }
        row->addStretch();
        column->addLayout(row);
    }
    columns->addLayout(column, 1);

    auto* close = new QToolButton(this);
    close->setAccessibleName(qt(words().text("Close")));
    close->setToolTip(qt(words().text("Close")));
    close->setFixedSize(20, 20);
    close->setIconSize(QSize(9, 9));
    close->setIcon(QIcon(symbolPixmap("xmark", secondaryColor(colors), 9, devicePixelRatioF())));
    close->setAutoRaise(true);
    close->setFocusPolicy(Qt::NoFocus);
    close->setStyleSheet(
        QStringLiteral("QToolButton { border: none; border-radius: 10px; background: transparent; }"
                       "QToolButton:hover { background: %1; }")
            .arg(mixed(cardColor(colors), colors.color(QPalette::WindowText), 0.12).name()));
    connect(close, &QToolButton::clicked, this, [action = clicks.close, id = item.id] {
        const auto run = action;
        const auto itemID = id;
        run(itemID);
    });
    columns->addWidget(close, 0, Qt::AlignTop);
}

void NoticeView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor card = cardColor(palette());
    const QColor line = mixed(card, palette().color(QPalette::WindowText), 0.16);
    if (cornersAreCut_) {
        painter.fillRect(rect(), card);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(line, 1));
    painter.setBrush(card);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius - 0.5,
                            cornerRadius - 0.5);
}

} // namespace velmoran
