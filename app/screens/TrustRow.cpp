#include "app/screens/TrustRow.h"

#include "app/look/CardText.h"
#include "app/screens/ScreenText.h"
#include "app/screens/SettingsMeasures.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <utility>

namespace velmoran {

TrustRow::TrustRow(const AppPicture& picture, TrustKind kind, Act act, QWidget* parent)
    : QWidget(parent),
      kind_(kind),
      image_(new AppImage(picture, AppIdentity(), SettingsMeasures::imagePoints, this)),
      name_(new AppNameView(this, TextStyle::body)),
      devices_(new LineLabel({}, TextStyle::caption, Ink::secondary, this)),
      button_(new FaceButton(qt(TrustEntries::action(kind)), FaceButton::Face::plain, this)) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, SettingsMeasures::rowMargin, 0, SettingsMeasures::rowMargin);
    line->setSpacing(SettingsMeasures::betweenParts);
    line->addWidget(image_);
    auto* column = new QVBoxLayout;
    column->setSpacing(SettingsMeasures::betweenLines);
    column->addWidget(name_);
    column->addWidget(devices_);
    line->addLayout(column, 1);
    button_->setSmall(true);
    line->addWidget(button_);
    connect(button_, &FaceButton::clicked, this, [this, act = std::move(act)] {
        // Copies, since it may be the end of this row.
        const auto run = act;
        const auto entry = entry_;
        run(entry);
    });
}

void TrustRow::present(const TrustEntry& entry) {
    if (entry.app != entry_.app) {
        image_->setApp(entry.app);
        const auto help = qt(TrustEntries::actionHelp(kind_, entry.app));
        button_->setAccessibleDescription(help);
        button_->setToolTip(plainToolTip(harmlessText(help)));
    }
    name_->present(entry.app,
                   entry.process
                       ? std::optional(SystemProcessContent::of(entry.app.name, *entry.process))
                       : std::nullopt);
    devices_->setPlain(qt(entry.deviceWords()));
    entry_ = entry;
}

} // namespace velmoran
