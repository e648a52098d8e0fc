#include "app/screens/DayNoteView.h"

#include "app/contents/TotalsContent.h"
#include "app/controls/Labels.h"
#include "app/look/ScreenColors.h"
#include "app/screens/AppCells.h"
#include "app/screens/ChartSwatch.h"
#include "core/text/Localizer.h"

#include <QGridLayout>
#include <QPainter>
#include <algorithm>

namespace velmoran {

namespace {

constexpr int picturePoints = 14;

} // namespace

DayNoteView::DayNoteView(const AppPicture& picture, QWidget* parent)
    : QWidget(parent),
      picture_(picture) {
    setObjectName("dayNote");
    setAttribute(Qt::WA_TransparentForMouseEvents);
}

void DayNoteView::addDevice(QWidget* into, int line, bool isCamera, const std::string& time) {
    auto* grid = static_cast<QGridLayout*>(into->layout());
    const auto title = deviceTitle(isCamera ? Device::camera : Device::microphone);
    grid->addWidget(new ChartSwatch(isCamera, QSize(6, 6), into), line, 0, Qt::AlignCenter);
    grid->addWidget(new LineLabel(QString::fromStdString(title), TextStyle::body, Ink::text, into),
                    line, 1);
    grid->addWidget(
        new LineLabel(QString::fromStdString(time), TextStyle::tabular, Ink::text, into, false),
        line, 2, Qt::AlignRight);
}

void DayNoteView::present(const DayNoteContent& content) {
    delete content_;
    content_ = new QWidget(this);
    auto* grid = new QGridLayout(content_);
    grid->setContentsMargins(12, 8, 12, 10);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(4);
    grid->setColumnStretch(1, 1);
    grid->addWidget(new LineLabel(QString::fromStdString(content.title), TextStyle::headline,
                                  Ink::text, content_),
                    0, 0, 1, 3);
    addDevice(content_, 1, true, content.camera);
    addDevice(content_, 2, false, content.microphone);
    int line = 3;
    for (const auto& app : content.apps) {
        grid->addWidget(new AppImage(picture_, app.app, picturePoints, content_), line, 0,
                        Qt::AlignCenter);
        grid->addWidget(new LineLabel(lineText(app.app.name), TextStyle::body, Ink::text, content_),
                        line, 1);
        grid->addWidget(new LineLabel(QString::fromStdString(app.time), TextStyle::tabular,
                                      Ink::text, content_, false),
                        line, 2, Qt::AlignRight);
        ++line;
    }
    if (!content.more.empty()) {
        grid->addWidget(new LineLabel(QString::fromStdString(content.more), TextStyle::body,
                                      Ink::secondary, content_),
                        line, 1, 1, 2);
    }
    setAccessibleName(QString::fromStdString(content.title));
    QStringList apps;
    for (const auto& app : content.apps) {
        apps.push_back(lineText(app.app.name) + ' ' + QString::fromStdString(app.time));
    }
    if (!content.more.empty()) {
        apps.push_back(QString::fromStdString(content.more));
    }
    setAccessibleDescription(apps.join(QStringLiteral(", ")));
    fit();
    content_->installEventFilter(this);
    content_->show();
    show();
}

void DayNoteView::fit() {
    const auto wanted = content_->sizeHint();
    content_->resize(std::clamp(wanted.width(), 150, mostWidth), wanted.height());
    resize(content_->size());
}

bool DayNoteView::eventFilter(QObject* watched, QEvent* event) {
    // The desktop's letters have become larger.
    if (watched == content_ && event->type() == QEvent::LayoutRequest) {
        fit();
    }
    return QWidget::eventFilter(watched, event);
}

void DayNoteView::paintEvent(QPaintEvent*) {
    const ScreenColors colors(palette());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const auto line = 1 / devicePixelRatioF();
    painter.setPen(QPen(colors.line, line));
    painter.setBrush(colors.window);
    painter.drawRoundedRect(QRectF(rect()).adjusted(line, line, -line, -line), 8, 8);
}

} // namespace velmoran
