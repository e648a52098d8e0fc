#include "app/screens/TrustListSection.h"

#include "app/controls/Choices.h"
#include "app/controls/Groups.h"
#include "app/controls/Labels.h"
#include "app/look/CardText.h"
#include "app/screens/AppNameView.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsMeasures.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

TrustListSection::TrustListSection(ScreenContext context, TrustKind kind, QWidget* parent)
    : QWidget(parent),
      context_(std::move(context)),
      kind_(kind),
      section_(new FormSection(qt(TrustEntries::heading(kind)), this)),
      shown_(TrustEntries::of(context_.model, kind)) {
    setObjectName(kind == TrustKind::trusted ? QStringLiteral("trustedApps")
                                             : QStringLiteral("alwaysWarningApps"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->addWidget(section_);
    build();
    watching_ = context_.model.trust.subscribe([this](const auto&) { refresh(); });
}

void TrustListSection::refresh() {
    if (auto entries = TrustEntries::of(context_.model, kind_); entries != shown_) {
        shown_ = std::move(entries);
        build();
    }
}

void TrustListSection::build() {
    section_->clear();
    if (shown_.apps.empty()) {
        auto* note = new TextLabel(qt(TrustEntries::emptyNote(kind_)), TextStyle::body,
                                   Ink::secondary, section_);
        section_->add(SettingsMeasures::inset(note, SettingsMeasures::rowMargin,
                                              SettingsMeasures::rowMargin));
    }
    for (const auto& entry : shown_.apps) {
        section_->add(makeRow(entry));
    }
    if (shown_.systemProcesses.empty()) {
        return;
    }
    const auto title = qt(shown_.systemProcessesTitle());
    auto* shows = new Switch(title, section_);
    shows->setChecked(showsSystemProcesses_);
    connect(shows, &Switch::clicked, this, [this](bool on) {
        showsSystemProcesses_ = on;
        build();
    });
    section_->add(new FormRow(title, qt(TrustEntries::systemProcessesNote()), shows, section_));
    if (!showsSystemProcesses_) {
        return;
    }
    auto* heading = new TextLabel(qt(TrustEntries::systemProcessesHeading()), TextStyle::headline,
                                  Ink::text, section_);
    section_->addPlain(SettingsMeasures::inset(heading, SettingsMeasures::betweenThings,
                                               SettingsMeasures::rowMargin));
    for (const auto& entry : shown_.systemProcesses) {
        section_->add(makeRow(entry));
    }
}

QWidget* TrustListSection::makeRow(const TrustEntry& entry) {
    auto* row = new QWidget(section_);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, SettingsMeasures::rowMargin, 0, SettingsMeasures::rowMargin);
    line->setSpacing(SettingsMeasures::betweenParts);
    line->addWidget(new AppImage(context_.picture, entry.app, SettingsMeasures::imagePoints, row));
    auto* column = new QVBoxLayout;
    column->setSpacing(SettingsMeasures::betweenLines);
    if (entry.process) {
        auto* name = new AppNameView(row, TextStyle::body);
        name->present(entry.app, SystemProcessContent::of(entry.app.name, *entry.process));
        column->addWidget(name);
    } else {
        column->addWidget(new LineLabel(qt(entry.app.name), TextStyle::body, Ink::text, row));
    }
    column->addWidget(
        new LineLabel(qt(entry.deviceWords()), TextStyle::caption, Ink::secondary, row));
    line->addLayout(column, 1);
    auto* button = new FaceButton(qt(TrustEntries::action(kind_)), FaceButton::Face::plain, row);
    button->setSmall(true);
    button->setAccessibleDescription(qt(TrustEntries::actionHelp(kind_, entry.app)));
    button->setToolTip(plainToolTip(harmlessText(qt(TrustEntries::actionHelp(kind_, entry.app)))));
    connect(button, &FaceButton::clicked, this, [this, entry] { act(entry); });
    line->addWidget(button);
    return row;
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
