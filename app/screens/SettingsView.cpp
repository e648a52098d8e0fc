#include "app/screens/SettingsView.h"

#include "app/controls/Choices.h"
#include "app/controls/Groups.h"
#include "app/controls/Labels.h"
#include "app/model/SettingChoices.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsMeasures.h"
#include "app/screens/TrustListSection.h"
#include "app/screens/UpdateSection.h"
#include "core/text/Localizer.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

using SettingsContent::Picker;

template <class T>
QComboBox* pickerOf(const Picker<T>& content, QWidget* parent) {
    QList<QString> labels;
    for (const auto& entry : content.entries) {
        labels.append(qt(entry.label));
    }
    return makePicker(qt(content.title), labels, parent);
}

/// Shows a value, and calls `choose` for another one that the person takes.
template <class T, class Choose>
void offer(QComboBox* box, const Picker<T>& content, const Choose& choose) {
    QObject::connect(box, &QComboBox::activated, box, [entries = content.entries, choose](int at) {
        choose(entries[static_cast<std::size_t>(at)].value);
    });
}

template <class T>
void showIn(QComboBox* box, const Picker<T>& content, const T& value) {
    const QSignalBlocker quiet(box);
    const auto found = std::ranges::find(content.entries, value, &Picker<T>::Entry::value);
    box->setPlaceholderText(qt(content.other));
    box->setCurrentIndex(
        found == content.entries.end() ? -1 : static_cast<int>(found - content.entries.begin()));
}

} // namespace

SettingsView::SettingsView(ScreenContext context, LoginItem& loginItem, QWidget* parent,
                           std::optional<WebAddresses> web)
    : QWidget(parent),
      context_(std::move(context)),
      model_(context_.model),
      loginItem_(loginItem),
      web_(std::move(web)) {
    setObjectName(QStringLiteral("settings"));
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    auto* scroll = new QScrollArea(this);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setWidgetResizable(true);
    // What can be chosen is walked, not the area around it.
    scroll->setFocusPolicy(Qt::NoFocus);
    whole->addWidget(scroll);
    auto* form = new QWidget(scroll);
    scroll->setWidget(form);
    column_ = new QVBoxLayout(form);
    column_->setContentsMargins(SettingsMeasures::windowMargin, SettingsMeasures::windowMargin,
                                SettingsMeasures::windowMargin, SettingsMeasures::windowMargin);
    column_->setSpacing(SettingsMeasures::betweenSections);

    auto* notSaved =
        new TextLabel(qt(words().text("The settings couldn't be saved. What is chosen here holds "
                                      "until Velmoran quits.")),
                      TextStyle::body, Ink::warning, form);
    notSaved->setObjectName(QStringLiteral("notSaved"));
    notSaved->setVisible(*model_.settings.notSaved);
    column_->addWidget(notSaved);
    watching_.push_back(
        model_.settings.notSaved.subscribe([notSaved](bool isSo) { notSaved->setVisible(isSo); }));

    addStart();
    addNotices();
    addQuickStop();
    addWatching();
    for (const auto kind : {TrustKind::trusted, TrustKind::alwaysWarn}) {
        column_->addWidget(new TrustListSection(context_, kind, showsSystemProcesses_, form));
    }
    addHistory();
    addUpdates();
    addAbout();
    column_->addStretch();
}

QSize SettingsView::sizeHint() const {
    return SettingsMeasures::windowSize;
}

void SettingsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // The desktop's own settings may have changed it meanwhile.
    openAtLogin_->setChecked(loginItem_.isOn());
}

FormSection* SettingsView::addSection(const std::string& heading) {
    auto* section = new FormSection(qt(heading), column_->parentWidget());
    column_->addWidget(section);
    return section;
}

Switch* SettingsView::addToggle(FormSection& section, const SettingsContent::Toggle& toggle) {
    auto* button = new Switch(qt(toggle.title), &section);
    auto& field = model_.settings.*toggle.field;
    button->setChecked(*field);
    QObject::connect(button, &Switch::clicked, this, [this, which = toggle.field](bool on) {
        (model_.settings.*which).set(on);
        SettingChoices::carryOut(model_, which);
    });
    watching_.push_back(field.subscribe([button](bool on) { button->setChecked(on); }));
    section.add(new FormRow(qt(toggle.title), qt(toggle.note), button, &section));
    return button;
}

// MARK: - The sections

void SettingsView::addStart() {
    auto* section = addSection();
    // What comes and goes belongs to the line above it, with no hairline of its own.
    const auto joined = [section](QWidget* row, QWidget* under) {
        auto* line = new QWidget(section);
        auto* column = new QVBoxLayout(line);
        column->setContentsMargins({});
        column->setSpacing(0);
        column->addWidget(row);
        column->addWidget(under);
        under->hide();
        section->add(line);
    };
    const auto title = qt(words().text("Open at login"));
    openAtLogin_ = new Switch(title, section);
    openAtLogin_->setChecked(loginItem_.isOn());
    QObject::connect(openAtLogin_, &Switch::clicked, this,
                     [this](bool on) { changeLoginItem(on); });
    loginItemFailed_ =
        new TextLabel(qt(words().text("macOS didn't allow this change. You can set it in System "
                                      "Settings > General > Login Items.")),
                      TextStyle::caption, Ink::warning, section);
    loginItemFailed_->setObjectName(QStringLiteral("loginItemFailed"));
    loginItemFailed_ = SettingsMeasures::inset(loginItemFailed_, 0, SettingsMeasures::rowMargin);
    joined(new FormRow(title, {}, openAtLogin_, section), loginItemFailed_);

    const auto languages = SettingsContent::languages();
    language_ = pickerOf(languages, section);
    offer(language_, languages,
          [this](const std::string& code) { model_.settings.language.set(code); });
    FaceButton* restart = nullptr;
    if (context_.actions.relaunch) {
        restart = new FaceButton(qt(words().text("Restart now")), FaceButton::Face::plain, section);
        QObject::connect(restart, &FaceButton::clicked, this,
                         [this] { context_.actions.relaunch(); });
    }
    restart_ = new FormRow(qt(words().text("Velmoran changes its language when it starts again.")),
                           {}, restart, section);
    restart_->setObjectName(QStringLiteral("restart"));
    joined(new FormRow(qt(languages.title), {}, language_, section), restart_);
    followLanguage();
    watching_.push_back(
        model_.settings.language.subscribe([this](const auto&) { followLanguage(); }));
}

void SettingsView::changeLoginItem(bool on) {
    if (on == loginItem_.isOn()) {
        return;
    }
    loginItemFailed_->setVisible(!loginItem_.set(on));
    openAtLogin_->setChecked(loginItem_.isOn());
}

void SettingsView::followLanguage() {
    const auto chosen = SettingsContent::chosenLanguage(model_.settings);
    showIn(language_, SettingsContent::languages(), chosen);
    restart_->setVisible(chosen != SettingsContent::startLanguage());
}

void SettingsView::addNotices() {
    auto* section = addSection();
    addToggle(*section, SettingsContent::warningSound());
    const auto content = SettingsContent::standardNotices();
    auto* picker = pickerOf(content, section);
    offer(picker, content, [this](bool stay) { model_.settings.standardNoticesStay.set(stay); });
    section->add(new FormRow(qt(content.title), qt(content.note), picker, section));
    const auto follow = [picker, content](bool stay) {
        showIn(picker, content, stay);
    };
    follow(*model_.settings.standardNoticesStay);
    watching_.push_back(model_.settings.standardNoticesStay.subscribe(follow));
}

void SettingsView::addQuickStop() {
    auto* heading = new QWidget(column_->parentWidget());
    auto* line = new QHBoxLayout(heading);
    line->setContentsMargins({});
    line->setSpacing(SettingsMeasures::betweenParts / 2);
    auto* title = new LineLabel(qt(words().text("Quick stop for camera and microphone")),
                                TextStyle::headline, Ink::text, heading, false);
    line->addWidget(title);
    auto* about = new SymbolButton(QStringLiteral("info.circle"), SettingsMeasures::infoPoints,
                                   SettingsMeasures::infoSide, heading);
    const auto label = qt(words().text("About quick stop"));
    about->setWords(label, label);
    about->setInk(Ink::secondary);
    QObject::connect(about, &SymbolButton::clicked, this,
                     [this, about] { showQuickStopNote(about); });
    line->addWidget(about);
    line->addStretch();

    auto* group = new QVBoxLayout;
    group->setSpacing(SettingsMeasures::betweenParts / 2);
    column_->addLayout(group);
    group->addWidget(heading);
    auto* section = new FormSection({}, column_->parentWidget());
    section->setAccessibleName(title->text());
    group->addWidget(section);
    const auto toggles = [this] {
        return SettingsContent::quickStop(*model_.stopShortcutUnavailable,
                                          *model_.floatingStopUnavailable);
    };
    std::vector<FormRow*> rows;
    for (const auto& toggle : toggles()) {
        rows.push_back(dynamic_cast<FormRow*>(addToggle(*section, toggle)->parentWidget()));
    }
    const auto noteAnew = [rows, toggles](bool) {
        const auto now = toggles();
        for (std::size_t i = 0; i < rows.size(); ++i) {
            rows[i]->setNote(qt(now[i].note));
        }
    };
    watching_.push_back(model_.stopShortcutUnavailable.subscribe(noteAnew));
    watching_.push_back(model_.floatingStopUnavailable.subscribe(noteAnew));
}

void SettingsView::showQuickStopNote(QWidget* at) {
    auto* note = new QWidget;
    note->setObjectName(QStringLiteral("quickStopNote"));
    auto* column = new QVBoxLayout(note);
    column->setSpacing(SettingsMeasures::betweenParts);
    const auto add = [&](const std::string& text, TextStyle style) {
        auto* label = new TextLabel(qt(text), style, Ink::text, note);
        label->setFixedWidth(SettingsMeasures::noteWidth);
        column->addWidget(label);
        const auto described = note->accessibleDescription();
        if (style == TextStyle::headline) {
            note->setAccessibleName(label->text());
        } else {
            note->setAccessibleDescription((described + ' ' + label->text()).trimmed());
        }
    };
    add(words().text("Two faster ways to stop"), TextStyle::headline);
    add(words().text("A button that floats on screen while the camera or microphone is on, and a "
                     "keyboard shortcut."),
        TextStyle::body);
    add(words().text("Both do what “Stop camera and microphone” in the panel does: they mute the "
                     "microphone and close the apps that are using the camera or microphone. "
                     "Unsaved work in those apps may be lost."),
        TextStyle::body);
    showNote(at, note);
}

void SettingsView::addWatching() {
    auto* section = addSection();
    for (const auto& toggle : SettingsContent::watching()) {
        addToggle(*section, toggle);
    }
    auto& outlook = model_.awayOutlook;
    outlook.look();
    const auto awayWatch = [&outlook] {
        return SettingsContent::awayWatch(outlook.readsLid(), *outlook.gaps);
    };
    auto* row = dynamic_cast<FormRow*>(addToggle(*section, awayWatch())->parentWidget());
    watching_.push_back(outlook.gaps.subscribe(
        [row, awayWatch](const auto&) { row->setNote(qt(awayWatch().note)); }));
    auto* ownReturn = addToggle(*section, SettingsContent::ownReturn());
    ownReturn->setEnabled(*model_.settings.awayWatchOnLock);
    watching_.push_back(model_.settings.awayWatchOnLock.subscribe(
        [ownReturn](bool on) { ownReturn->setEnabled(on); }));
}

void SettingsView::addHistory() {
    auto* section = addSection(words().text("History"));
    const auto content = SettingsContent::retention(*model_.settings.retentionDays);
    auto* picker = pickerOf(content, section);
    offer(picker, content, [this](int days) {
        model_.settings.retentionDays.set(days);
        SettingChoices::carryOut(model_, "retentionDays");
    });
    section->add(new FormRow(qt(content.title), {}, picker, section));
    const auto follow = [picker](int days) {
        showIn(picker, SettingsContent::retention(days), days);
    };
    follow(*model_.settings.retentionDays);
    watching_.push_back(model_.settings.retentionDays.subscribe(follow));

    auto* remove = new LinkButton(qt(words().text("Delete all history…")), section);
    remove->setDestructive(true);
    QObject::connect(remove, &LinkButton::clicked, this, [this] { confirmDelete(); });
    section->add(new FormRow(qt(words().text("Stored only on this Mac.")), {}, remove, section));
}

void SettingsView::confirmDelete() {
    ask(this,
        {.title = qt(words().text("Delete all history?")),
         .message = qt(words().text("This removes every recorded use and every Away watch report "
                                    "from this Mac. It can't be undone.")),
         .confirm = qt(words().text("Delete all history")),
         .isDestructive = true},
        [this] { model_.deleteHistory(); });
}

void SettingsView::addUpdates() {
    const auto running = QCoreApplication::applicationVersion().toStdString();
    std::optional<UpdateCheck::Facts> facts;
    if (web_) {
        facts = {.address = web_->versionFile(), .running = running};
    }
    column_->addWidget(new UpdateSection(
        running, std::move(facts),
        [this] {
            context_.actions.openWebPage(
                web_->productPage(SettingsContent::chosenLanguage(model_.settings)));
        },
        column_->parentWidget()));
}

void SettingsView::addAbout() {
    const auto version = QCoreApplication::applicationVersion();
    const auto opener = [this](auto page) {
        return [this, page] {
            context_.actions.openWebPage(page(SettingsContent::chosenLanguage(model_.settings)));
        };
    };
    if (web_) {
        auto* section = addSection();
        auto* send =
            new FaceButton(qt(words().text("Send feedback…")), FaceButton::Face::plain, section);
        QObject::connect(
            send, &FaceButton::clicked, this,
            opener([web = *web_, version = version.toStdString()](const auto& language) {
                return web.feedback(language, version, WebAddresses::buildNumber());
            }));
        section->add(new FormRow(qt(words().text("Tell us what you think")),
                                 qt(words().text("Opens a form on our website. Your version is "
                                                 "filled in, and nothing is sent until you send "
                                                 "the form.")),
                                 send, section));
    }

    if (!web_) {
        return; // the version stands just above, and there would be nothing beside it
    }
    auto* last = new QWidget(column_->parentWidget());
    auto* line = new QHBoxLayout(last);
    line->setContentsMargins({});
    line->setSpacing(SettingsMeasures::betweenParts);
    line->addStretch();
    line->addWidget(new LineLabel(qt(words().text("Velmoran %@", {version.toStdString()})),
                                  TextStyle::caption, Ink::secondary, last, false));
    const auto link = [&](const std::string& label, auto page) {
        line->addWidget(
            new LineLabel(QStringLiteral("·"), TextStyle::caption, Ink::secondary, last, false));
        auto* button = new LinkButton(qt(label), last, TextStyle::caption);
        QObject::connect(button, &LinkButton::clicked, this, opener(page));
        line->addWidget(button);
    };
    link(web_->host(), [web = *web_](const auto& in) { return web.productPage(in); });
    link(words().text("Imprint"), [web = *web_](const auto& in) { return web.imprint(in); });
    link(words().text("Privacy policy"),
         [web = *web_](const auto& in) { return web.privacyPolicy(in); });
    line->addStretch();
    column_->addWidget(last);
}

} // namespace velmoran
