#include "app/screens/UseLine.h"

#include "app/screens/ScreenText.h"

#include <QFontMetrics>
#include <QHBoxLayout>

namespace velmoran {

namespace {

constexpr int useImage = 14;
constexpr int useGap = 6;

} // namespace

UseLine::UseLine(const AppPicture& picture, const AppIdentity& app, QWidget* parent)
    : RowButton(parent),
      image_(new AppImage(picture, app, useImage, this)),
      name_(new LineLabel({}, TextStyle::body, Ink::text, this, false)),
      duration_(new LineLabel({}, TextStyle::tabular, Ink::text, this)) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(inset, 2, inset, 2);
    line->setSpacing(0);
    line->addWidget(image_);
    line->addSpacing(useGap);
    line->addWidget(name_);
    line->addSpacing(fontMetrics().horizontalAdvance(QLatin1Char(' ')));
    line->addWidget(duration_);
    line->addStretch();
    setToolTip(qt(StatusContent::detailsHelp()));
    setAccessibleDescription(qt(StatusContent::detailsHelp()));
}

void UseLine::present(const StatusContent::Use& use) {
    if (use.app != shown_.app) {
        image_->setApp(use.app);
        name_->setPlain(qt(use.app.name));
    }
    if (use.duration != shown_.duration) {
        const auto text = QStringLiteral("· ") + qt(use.duration);
        duration_->setPlain(text);
        // It only ever grows, so that nothing moves while it ticks.
        const int width = duration_->sizeHint().width();
        if (width > duration_->minimumWidth()) {
            duration_->setFixedWidth(width);
        }
    }
    setSpokenName(*this, qt(use.text()));
    shown_ = use;
}

} // namespace velmoran
