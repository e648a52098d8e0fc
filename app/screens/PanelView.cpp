#include "app/screens/PanelView.h"

#include "app/screens/PanelMeasures.h"
#include "app/screens/ScreenText.h"

#include <QHBoxLayout>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr Seconds panelTick = 1.0;
constexpr int betweenRows = 12;
constexpr int betweenBlocks = 20;

} // namespace

PanelView::PanelView(ScreenContext context, QWidget* parent)
    : QWidget(parent),
      context_(std::move(context)),
      speaker_(new SpeakerRow(this)),
      stop_(new FaceButton(qt(PanelContent::stop()), FaceButton::Face::stop, this)),
      stopFocus_(*stop_, *this),
      warningLayout_(new QVBoxLayout) {
    setObjectName(QStringLiteral("panel"));
    setAccessibleName(qt(PanelContent::title()));
    const StatusRow::Actions actions = {
        .showDetails = [this](const Uuid& session) { showDetailsOf(session); },
        .unmute = [this] { context_.model.unmuteMicrophone(); },
    };
    camera_ = new StatusRow(Ink::camera, context_.picture, actions, this);
    microphone_ = new StatusRow(Ink::microphone, context_.picture, actions, this);
    recent_ = new RecentActivityView(
        context_.picture,
        [this](const Uuid& id) {
            if (const auto row = std::ranges::find(rows_, id, &ActivityRow::id);
                row != rows_.end()) {
                context_.actions.showDetails(ActivityRow(*row));
            }
        },
        this);
    camera_->setObjectName(QStringLiteral("camera"));
    microphone_->setObjectName(QStringLiteral("microphone"));
    speaker_->setObjectName(QStringLiteral("speaker"));
    recent_->setObjectName(QStringLiteral("recent"));
    stop_->setObjectName(QStringLiteral("stop"));
    stop_->setAccessibleName(qt(PanelContent::stop()));
    QObject::connect(stop_, &QAbstractButton::clicked, this,
                     [this] { context_.model.stopEverything(); });
    layOut();
    watch();
    // Its recent lines wait until it is shown: their place is as high without them.
    present();
    layOutNow(*this);
}

void PanelView::layOut() {
    const auto addLink = [this](QHBoxLayout& line, const char* name, const std::string& text,
                                const std::function<void()>& action) {
        auto* link = new LinkButton(qt(text), this);
        link->setObjectName(QLatin1String(name));
        QObject::connect(link, &QAbstractButton::clicked, this, action);
        line.addWidget(link);
        links_.push_back(link);
    };
    auto* links = new QHBoxLayout;
    links->setSpacing(betweenRows);
    addLink(*links, "history", PanelContent::history(), [this] { context_.actions.showHistory(); });
    addLink(*links, "settings", PanelContent::settings(),
            [this] { context_.actions.showSettings(); });
    links->addStretch();
    addLink(*links, "quit", PanelContent::quit(), [this] { context_.actions.quit(); });

    auto* stopNote =
        new TextLabel(qt(PanelContent::stopNote()), TextStyle::caption, Ink::secondary, this);
    auto* title = new LineLabel(qt(PanelContent::title()), TextStyle::headline, Ink::text, this);
    // The lines of the list reach out to both sides by their inset.
    constexpr int outset = PanelMeasures::margin / 2;

    auto* sheet = new QVBoxLayout(this);
    sheet->setSizeConstraint(QLayout::SetFixedSize);
    sheet->setContentsMargins(outset, PanelMeasures::margin, outset, PanelMeasures::margin);
    sheet->setSpacing(0);
    const auto add = [&](QWidget* part, int space) {
        auto* line = new QHBoxLayout;
        // The same room for each, which is what its height is asked for.
        const int side = part == recent_ ? 0 : outset;
        part->setFixedWidth(PanelMeasures::width - 2 * (outset + side));
        line->setContentsMargins(side, 0, side, 0);
        line->addWidget(part);
        sheet->addLayout(line);
        sheet->addSpacing(space);
    };
    add(title, betweenRows);
    add(camera_, betweenRows);
    add(microphone_, betweenRows);
    add(speaker_, betweenBlocks);
    add(stop_, 8);
    add(stopNote, betweenBlocks);
    add(recent_, betweenRows);
    warningLayout_->setContentsMargins(outset, 0, outset, 0);
    warningLayout_->setSpacing(4);
    sheet->addLayout(warningLayout_);
    links->setContentsMargins(outset, 0, outset, 0);
    sheet->addLayout(links);
}

void PanelView::watch() {
    auto& model = context_.model;
    const auto note = [this](const auto&) {
        noteChange();
    };
    const auto noteHistory = [this](const auto&) {
        if (isVisible()) {
            refresh();
        }
    };
    watching_.push_back(model.openSessions.subscribe(note));
    watching_.push_back(model.snapshot.subscribe(note));
    watching_.push_back(model.isStopping.subscribe(note));
    watching_.push_back(model.historyProblem.subscribe(note));
    watching_.push_back(model.sightTaken.subscribe(note));
    watching_.push_back(model.settings.microphoneMuted.subscribe(note));
    watching_.push_back(model.historySessions.subscribe(noteHistory));
    watching_.push_back(model.settings.hideSystemSounds.subscribe(noteHistory));
    watching_.push_back(model.settings.ignoreSystemListening.subscribe(noteHistory));
}

void PanelView::noteChange() {
    if (isVisible()) {
        present();
    }
}

void PanelView::refresh() {
    rows_ = context_.model.recentRows();
    present();
    if (!isVisible()) {
        layOutNow(*this);
    }
}

void PanelView::present() {
    const auto content = PanelContent::of(context_.model, rows_, context_.model.clock().now());
    bool isOther = camera_->present(content.camera);
    isOther |= microphone_->present(content.microphone);
    speaker_->present(content.speaker);
    stopFocus_.setEnabled(content.canStop);
    isOther |= recent_->present(content.recent);
    presentWarnings(content.warnings);
    if (isOther) {
        orderFocus();
    }
}

void PanelView::presentWarnings(const std::vector<std::string>& warnings) {
    if (shownWarnings_ == warnings) {
        return;
    }
    shownWarnings_ = warnings;
    while (auto* item = warningLayout_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const auto& warning : warnings) {
        auto* line = new TextLabel(qt(warning), TextStyle::caption, Ink::text, this);
        line->setFixedWidth(PanelMeasures::inner);
        warningLayout_->addWidget(line);
        line->show();
    }
    if (!warnings.empty()) {
        warningLayout_->addSpacing(betweenRows - warningLayout_->spacing());
    }
}

/// From top to bottom, also for what has come later.
void PanelView::orderFocus() {
    std::vector<QWidget*> order = camera_->focusOrder();
    const auto add = [&](const std::vector<QWidget*>& more) {
        order.insert(order.end(), more.begin(), more.end());
    };
    add(microphone_->focusOrder());
    add({stop_});
    add(recent_->focusOrder());
    add({links_.begin(), links_.end()});
    for (std::size_t at = 1; at < order.size(); ++at) {
        setTabOrder(order[at - 1], order[at]);
    }
}

void PanelView::showDetailsOf(const Uuid& session) const {
    if (const auto row = context_.model.rowContaining(session)) {
        context_.actions.showDetails(*row);
    }
}

void PanelView::showEvent(QShowEvent* event) {
    refresh();
    layOutNow(*this); // so that its first picture has the right size
    tick_ = context_.scheduler.every(panelTick, [this] { present(); });
    QWidget::showEvent(event);
}

void PanelView::hideEvent(QHideEvent* event) {
    tick_.reset();
    QWidget::hideEvent(event);
}

} // namespace velmoran
