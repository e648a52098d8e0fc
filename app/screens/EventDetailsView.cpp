#include "app/screens/EventDetailsView.h"

#include "app/screens/ScreenText.h"

#include <QHBoxLayout>
#include <utility>

namespace velmoran {

namespace {

constexpr Seconds detailsTick = 1.0;
constexpr int detailsMargin = 20;
constexpr int detailsWidth = 380;
constexpr int detailsImage = 40;
constexpr int betweenFields = 8;
constexpr int betweenPieces = 12;
constexpr int betweenDetails = 20;

void clearLayout(QLayout& layout) {
    while (auto* item = layout.takeAt(0)) {
        delete item->widget();
        delete item;
    }
}

} // namespace

EventDetailsView::EventDetailsView(ScreenContext context, Uuid rowID, QWidget* parent)
    : QWidget(parent),
      context_(std::move(context)),
      rowID_(rowID),
      vanished_(
          new TextLabel(qt(DetailsContent::vanished()), TextStyle::body, Ink::secondary, this)),
      details_(new QWidget(this)) {
    setObjectName(QStringLiteral("eventDetails"));
    layOut();
    const auto note = [this](const auto&) {
        if (isVisible()) {
            refresh();
        }
    };
    watching_.push_back(context_.model.historySessions.subscribe(note));
    watching_.push_back(context_.model.trust.subscribe(note));
    refresh();
}

void EventDetailsView::layOut() {
    auto* header = makeHeader(); // first, as the Tab key goes
    systemProcess_ = new QWidget(details_);
    systemLabel_ = new LineLabel({}, TextStyle::headline, Ink::text, systemProcess_);
    systemExplanation_ = new TextLabel({}, TextStyle::body, Ink::text, systemProcess_);
    auto* system = new QVBoxLayout(systemProcess_);
    system->setContentsMargins(0, 0, 0, 0);
    system->setSpacing(4);
    system->addWidget(systemLabel_);
    system->addWidget(systemExplanation_);

    fields_ = new QWidget(details_);
    fieldGrid_ = new QGridLayout(fields_);
    fieldGrid_->setContentsMargins(0, 0, 0, 0);
    fieldGrid_->setHorizontalSpacing(betweenPieces);
    fieldGrid_->setVerticalSpacing(betweenFields);
    fieldGrid_->setColumnStretch(1, 1);

    connections_ = new ConnectionsSection(detailsWidth, details_);
    auto* technicalLines = new QWidget(details_);
    technicalLines_ = new QVBoxLayout(technicalLines);
    technicalLines_->setContentsMargins(0, 4, 0, 0);
    technicalLines_->setSpacing(4);
    technical_ = new Disclosure(qt(DetailsContent::technicalHeading()), technicalLines, details_);
    technical_->setObjectName(QStringLiteral("technicalDetails"));

    auto* column = new QVBoxLayout(details_);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(betweenDetails);
    header->setFixedWidth(detailsWidth + TrustControls::besideSymbol());
    column->addWidget(header);
    for (QWidget* each : {systemProcess_, fields_, static_cast<QWidget*>(connections_),
                          static_cast<QWidget*>(technical_)}) {
        each->setFixedWidth(detailsWidth);
        column->addWidget(each, 0, Qt::AlignLeft);
    }
    vanished_->setFixedWidth(detailsWidth);
    auto* all = new QVBoxLayout(this);
    all->setSizeConstraint(QLayout::SetFixedSize);
    all->setContentsMargins(detailsMargin, detailsMargin,
                            detailsMargin - TrustControls::besideSymbol(), detailsMargin);
    all->addWidget(vanished_, 0, Qt::AlignLeft);
    all->addWidget(details_);
}

QWidget* EventDetailsView::makeHeader() {
    auto* header = new QWidget(details_);
    image_ = new AppImage(context_.picture, AppIdentity(), detailsImage, header);
    name_ = new AppNameView(header);
    trust_ = new TrustControls(context_.model, header);
    auto* line = new QHBoxLayout(header);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(betweenPieces);
    line->addWidget(image_);
    line->addWidget(name_, 1);
    line->addWidget(trust_);
    return header;
}

void EventDetailsView::refresh() {
    row_ = context_.model.rowContaining(rowID_);
    process_ = row_ ? context_.model.systemProcess(row_->app()) : std::nullopt;
    present();
    if (isVisible()) {
        tickWhileOpen();
    } else {
        layOutNow(*this);
    }
}

void EventDetailsView::tickWhileOpen() {
    if (!row_ || !row_->isOpen) {
        tick_.reset();
    } else if (!tick_) {
        tick_ = context_.scheduler.every(detailsTick, [this] { present(); });
    }
}

void EventDetailsView::present() {
    vanished_->setVisible(!row_);
    details_->setVisible(row_.has_value());
    if (!row_) {
        shown_.reset();
        return;
    }
    auto content =
        DetailsContent::of(*row_, process_, *context_.model.trust, context_.model.clock().now());
    if (shown_ == content) {
        return;
    }
    if (!shown_ || shown_->app != content.app) {
        image_->setApp(content.app);
    }
    name_->present(content.app, content.systemProcess);
    trust_->present(content.trust);
    systemProcess_->setVisible(content.systemProcess.has_value());
    if (content.systemProcess) {
        systemLabel_->setPlain(qt(content.systemProcess->label));
        systemExplanation_->setPlain(qt(content.systemProcess->explanation));
    }
    fields_->setVisible(!content.fields.empty());
    presentFields(content.fields);
    connections_->present(content.connections);
    if (!shown_ || shown_->technical != content.technical) {
        presentTechnical(content.technical);
    }
    shown_ = std::move(content);
}

void EventDetailsView::presentFields(const std::vector<DetailsContent::Field>& fields) {
    if (fieldValues_.size() != fields.size()) {
        clearLayout(*fieldGrid_);
        fieldValues_.clear();
        for (const auto& field : fields) {
            const auto line = static_cast<int>(fieldValues_.size());
            auto* title =
                new LineLabel(qt(field.title), TextStyle::body, Ink::secondary, fields_, false);
            auto* value = new TextLabel(qt(field.value), TextStyle::tabular, Ink::text, fields_);
            value->setAccessibleDescription(qt(field.title));
            fieldGrid_->addWidget(title, line, 0, Qt::AlignTop);
            fieldGrid_->addWidget(value, line, 1);
            title->show();
            value->show();
            fieldValues_.push_back(value);
        }
        return;
    }
    for (std::size_t at = 0; at < fields.size(); ++at) {
        if (!shown_ || at >= shown_->fields.size() ||
            shown_->fields[at].value != fields[at].value) {
            fieldValues_[at]->setPlain(qt(fields[at].value));
        }
    }
}

void EventDetailsView::presentTechnical(const std::vector<std::string>& lines) {
    clearLayout(*technicalLines_);
    for (const auto& line : lines) {
        auto* label =
            new LineLabel(qt(line), TextStyle::body, Ink::text, technicalLines_->parentWidget());
        technicalLines_->addWidget(label);
        label->show();
    }
    technical_->setVisible(!lines.empty());
}

void EventDetailsView::showEvent(QShowEvent* event) {
    refresh();
    layOutNow(*this); // so that its first picture has the right size
    QWidget::showEvent(event);
}

void EventDetailsView::hideEvent(QHideEvent* event) {
    tick_.reset();
    QWidget::hideEvent(event);
}

} // namespace velmoran
