#include "app/screens/UpdateSection.h"

#include "app/controls/Groups.h"
#include "app/controls/Labels.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsMeasures.h"
#include "core/text/Localizer.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

namespace {

UpdateContent::Outcome outcomeOf(const UpdateCheck::Result& result) {
    using Kind = UpdateCheck::Result::Kind;
    return result.kind == Kind::newer      ? UpdateContent::Outcome::newer
           : result.kind == Kind::upToDate ? UpdateContent::Outcome::upToDate
                                           : UpdateContent::Outcome::failed;
}

} // namespace

UpdateSection::UpdateSection(const std::string& running, std::optional<UpdateCheck::Facts> facts,
                             std::function<void()> openDownloads, QWidget* parent)
    : QWidget(parent) {
    setObjectName(QStringLiteral("updates"));
    setAccessibleName(
        qt(words().text("Check for updates"))); // it may keep the focus for the button
    if (facts) {
        update_.emplace(std::move(*facts));
    }
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    auto* section = new FormSection({}, this);
    whole->addWidget(section);
    auto* row = new QWidget(section);
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, SettingsMeasures::rowMargin, 0, SettingsMeasures::rowMargin);
    line->setSpacing(SettingsMeasures::betweenParts);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(SettingsMeasures::betweenLines);
    texts->addWidget(
        new LineLabel(qt(UpdateContent::versionText(running)), TextStyle::body, Ink::text, row));
    status_ =
        new TextLabel(qt(UpdateContent::statusText({})), TextStyle::caption, Ink::secondary, row);
    status_->setObjectName(QStringLiteral("updateStatus"));
    texts->addWidget(status_);
    advice_ = new TextLabel(qt(UpdateContent::advice()), TextStyle::caption, Ink::secondary, row);
    advice_->setObjectName(QStringLiteral("updateAdvice"));
    advice_->hide();
    texts->addWidget(advice_);
    line->addLayout(texts, 1);

    auto* buttons = new QVBoxLayout;
    buttons->setSpacing(SettingsMeasures::betweenParts);
    check_ = new FaceButton(qt(words().text("Check for updates")), FaceButton::Face::plain, row);
    check_->setSmall(true);
    if (!update_) {
        check_->setEnabled(false);
        check_->setToolTip(qt(UpdateContent::whyNot()));
        check_->setAccessibleDescription(qt(UpdateContent::whyNot()));
    }
    checkFocus_.emplace(*check_, *this);
    connect(check_, &FaceButton::clicked, this, [this] { check(); });
    buttons->addWidget(check_);
    download_ =
        new FaceButton(qt(words().text("Open download page")), FaceButton::Face::plain, row);
    download_->setSmall(true);
    download_->hide();
    connect(download_, &FaceButton::clicked, this, std::move(openDownloads));
    buttons->addWidget(download_);
    buttons->addStretch();
    line->addLayout(buttons);
    section->add(row);
}

void UpdateSection::check() {
    checkFocus_->setEnabled(false);
    update_->check([this](const auto& result) { present(result); });
}

void UpdateSection::present(const UpdateCheck::Result& result) {
    const auto outcome = outcomeOf(result);
    status_->setPlain(qt(UpdateContent::statusText(outcome, result.version)));
    const bool isNewer = outcome == UpdateContent::Outcome::newer;
    advice_->setVisible(isNewer);
    download_->setVisible(isNewer);
    checkFocus_->setEnabled(true);
}

} // namespace velmoran
