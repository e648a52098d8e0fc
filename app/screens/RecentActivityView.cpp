#include "app/screens/RecentActivityView.h"

#include "app/screens/PanelMeasures.h"
#include "app/screens/ScreenText.h"

#include <QFocusEvent>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

namespace {

constexpr int listOutset = 8; ///< of the list, since its lines have an inset

} // namespace

RecentActivityView::RecentActivityView(AppPicture picture,
                                       std::function<void(const Uuid& row)> showDetails,
                                       QWidget* parent)
    : QWidget(parent),
      picture_(std::move(picture)),
      showDetails_(std::move(showDetails)),
      nothing_(new TextLabel(qt(RecentLine::nothingYet()), TextStyle::body, Ink::secondary, this)),
      list_(new QScrollArea(this)),
      rowLayout_(new QVBoxLayout),
      rows_(*rowLayout_) {
    auto* heading =
        new LineLabel(qt(RecentLine::heading()), TextStyle::caption, Ink::secondary, this);
    nothing_->setFixedHeight(listHeight);
    nothing_->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(rowLayout_);
    column->addStretch();
    rowLayout_->setSpacing(0);
    list_->setWidget(content);
    list_->setWidgetResizable(true);
    list_->setFixedHeight(listHeight);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setAccessibleName(qt(RecentLine::heading()));
    // The panel's own ground.
    list_->viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(4);
    auto* words = new QVBoxLayout;
    words->setContentsMargins(listOutset, 0, listOutset, 0);
    words->setSpacing(all->spacing());
    words->addWidget(heading);
    words->addWidget(nothing_);
    all->addLayout(words);
    all->addWidget(list_);
}

bool RecentActivityView::present(const std::vector<RecentLine>& lines) {
    if (shown_ == lines && shownFont_ == font()) {
        return false;
    }
    shown_ = lines;
    shownFont_ = font();
    nothing_->setVisible(lines.empty());
    list_->setVisible(!lines.empty());
    const auto columns = Columns::of(lines, font());
    return rows_.update(
        lines, [](const RecentLine& line) { return line.row; },
        [this](const RecentLine& line) {
            auto* row = new RecentRow(picture_, line.app, list_->widget());
            QObject::connect(row, &QAbstractButton::clicked, this,
                             [this, id = line.row] { showDetails_(id); });
            row->installEventFilter(this);
            row->show();
            return row;
        },
        [&](RecentRow& row, const RecentLine& line) { row.present(line, columns); });
}

bool RecentActivityView::eventFilter(QObject* watched, QEvent* event) {
    // A line must not go away from under the mouse that presses it.
    if (event->type() == QEvent::FocusIn &&
        static_cast<QFocusEvent*>(event)->reason() != Qt::MouseFocusReason) {
        list_->ensureWidgetVisible(static_cast<QWidget*>(watched));
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace velmoran
