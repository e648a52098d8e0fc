#include "app/screens/TrustListSection.h"

#include "app/controls/Labels.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsMeasures.h"

#include <QVBoxLayout>
#include <algorithm>
#include <iterator>
#include <utility>

namespace velmoran {

namespace {

bool isIn(const std::vector<TrustRow*>& rows, const TrustRow* row) {
    return std::ranges::find(rows, row) != rows.end();
}

/// The next one after `from` that the Tab key reaches outside the rows that go.
QWidget* nextStop(QWidget* from, const std::vector<TrustRow*>& gone) {
    const auto goes = [&](const QWidget* widget) {
        return std::ranges::any_of(gone, [&](auto* row) { return row->isAncestorOf(widget); });
    };
    for (auto* each = from->nextInFocusChain(); each != from; each = each->nextInFocusChain()) {
        if (each->focusPolicy() & Qt::TabFocus && each->isEnabled() && each->isVisible() &&
            !goes(each)) {
            return each;
        }
    }
    return nullptr;
}

} // namespace

TrustListSection::TrustListSection(ScreenContext context, TrustKind kind,
                                   Observable<bool>& showsProcesses, QWidget* parent)
    : QWidget(parent),
      context_(std::move(context)),
      kind_(kind),
      showsProcesses_(showsProcesses),
      section_(new FormSection(qt(TrustEntries::heading(kind)), this)),
      shown_(TrustEntries::of(context_.model, kind)),
      emptyNote_(SettingsMeasures::inset(new TextLabel(qt(TrustEntries::emptyNote(kind)),
                                                       TextStyle::body, Ink::secondary, section_),
                                         SettingsMeasures::rowMargin, SettingsMeasures::rowMargin)),
      processesSwitch_(new Switch({}, section_)),
      processes_(
          new FormRow({}, qt(TrustEntries::systemProcessesNote()), processesSwitch_, section_)),
      processesHeading_(
          SettingsMeasures::inset(new TextLabel(qt(TrustEntries::systemProcessesHeading()),
                                                TextStyle::headline, Ink::text, section_),
                                  SettingsMeasures::betweenThings, SettingsMeasures::rowMargin)) {
    setObjectName(kind == TrustKind::trusted ? QStringLiteral("trustedApps")
                                             : QStringLiteral("alwaysWarningApps"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(section_);
    for (QWidget* each : {emptyNote_, static_cast<QWidget*>(processes_), processesHeading_}) {
        each->hide();
    }
    processesSwitch_->setChecked(*showsProcesses);
    connect(processesSwitch_, &Switch::clicked, this, [this](bool on) { showsProcesses_.set(on); });
    choice_ = showsProcesses_.subscribe([this](bool on) {
        processesSwitch_->setChecked(on);
        arrange();
    });
    arrange();
    watching_ = context_.model.trust.subscribe([this](const auto&) { refresh(); });
}

void TrustListSection::refresh() {
    if (auto entries = TrustEntries::of(context_.model, kind_); entries != shown_) {
        shown_ = std::move(entries);
        arrange();
    }
}

void TrustListSection::arrange() {
    std::vector<TrustRow*> rows;
    std::vector<FormSection::Line> lines;
    const auto addRows = [&](const std::vector<TrustEntry>& entries) {
        for (const auto& entry : entries) {
            rows.push_back(rowOf(entry));
            lines.push_back({.widget = rows.back()});
        }
    };
    if (shown_.apps.empty()) {
        lines.push_back({.widget = emptyNote_});
    }
    addRows(shown_.apps);
    if (!shown_.systemProcesses.empty()) {
        processes_->setTitle(qt(shown_.systemProcessesTitle()));
        lines.push_back({.widget = processes_});
        if (*showsProcesses_) {
            lines.push_back({.widget = processesHeading_, .hasHairline = false});
            addRows(shown_.systemProcesses);
        }
    }
    auto* heir = heirAmong(rows);
    const auto* loser = dynamic_cast<Button*>(window()->focusWidget());
    if (heir) { // before Qt looks for somebody by itself as the row goes
        heir->setFocus(loser && loser->showsFocus() ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    const auto before = std::exchange(rows_, std::move(rows));
    section_->setLines(lines);
    for (auto* row : before) {
        if (!isIn(rows_, row)) {
            row->deleteLater();
        }
    }
}

TrustRow* TrustListSection::rowOf(const TrustEntry& entry) {
    const auto isOfThatApp = [&](TrustRow* row) {
        return row->entry().app.id == entry.app.id;
    };
    const auto found = std::ranges::find_if(rows_, isOfThatApp);
    auto* row = found != rows_.end()
                    ? *found
                    : new TrustRow(
                          context_.picture, kind_, [this](const auto& of) { act(of); }, section_);
    row->present(entry);
    return row;
}

QWidget* TrustListSection::heirAmong(const std::vector<TrustRow*>& left) const {
    auto* focused = window()->focusWidget();
    const auto loser = std::ranges::find_if(
        rows_, [&](const auto* row) { return focused && row->isAncestorOf(focused); });
    if (loser == rows_.end() || isIn(left, *loser)) {
        return nullptr;
    }
    const auto stays = [&](const auto* row) {
        return isIn(left, row);
    };
    if (const auto next = std::find_if(loser, rows_.end(), stays); next != rows_.end()) {
        return &(*next)->button();
    }
    if (const auto last = std::find_if(std::make_reverse_iterator(loser), rows_.rend(), stays);
        last != rows_.rend()) {
        return &(*last)->button();
    }
    return shown_.systemProcesses.empty() ? nextStop(focused, rows_) : processesSwitch_;
}

void TrustListSection::act(const TrustEntry& entry) {
    if (kind_ == TrustKind::alwaysWarn) {
        context_.model.setAlwaysWarn(false, entry.app, entry.devices);
        return;
    }
    ask(this,
        {.title = qt(entry.question()),
         .message = qt(entry.consequence()),
         .confirm = qt(TrustEntries::action(kind_)),
         .isDestructive = true},
        [this, entry] { context_.model.setTrusted(false, entry.app, entry.devices); });
}

} // namespace velmoran
