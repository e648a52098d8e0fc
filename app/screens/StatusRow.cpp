#include "app/screens/StatusRow.h"

#include "app/screens/PanelMeasures.h"
#include "app/screens/ScreenText.h"

#include <utility>

namespace velmoran {

namespace {

constexpr int belowButton = 4; ///< room for its focus ring

} // namespace

StatusRow::StatusRow(Ink tint, AppPicture picture, Actions actions, QWidget* parent)
    : QWidget(parent),
      tint_(tint),
      picture_(std::move(picture)),
      actions_(std::move(actions)),
      symbol_(new SymbolLabel({}, PanelMeasures::symbolSize, Ink::secondary, this)),
      title_(new LineLabel({}, TextStyle::body, Ink::text, this)),
      note_(new TextLabel({}, TextStyle::caption, Ink::secondary, this)),
      state_(new LineLabel({}, TextStyle::body, Ink::secondary, this, false)),
      unmute_(new FaceButton(qt(StatusContent::unmute()), FaceButton::Face::plain, this)),
      noteLayout_(new QHBoxLayout),
      unmuteFocus_(*unmute_, *this),
      useLayout_(new QVBoxLayout),
      uses_(*useLayout_) {
    unmute_->setSmall(true);
    unmute_->setObjectName(QStringLiteral("unmute"));
    unmute_->setToolTip(qt(StatusContent::unmuteHelp()));
    unmute_->setAccessibleName(qt(StatusContent::unmuteHelp()));
    QObject::connect(unmute_, &QAbstractButton::clicked, this, [this] { actions_.unmute(); });

    // The lines of uses begin a little before the title, so that what stands in them doesn't.
    constexpr int beforeText = PanelMeasures::gap - UseLine::inset;
    auto* heading = new QHBoxLayout;
    heading->setContentsMargins(UseLine::inset, 0, 0, 0);
    heading->setSpacing(PanelMeasures::gap);
    heading->addWidget(title_, 1);
    heading->addWidget(state_);
    heading->addWidget(unmute_);
    noteLayout_->setContentsMargins(UseLine::inset, 0, 0, 0);
    noteLayout_->addWidget(note_);
    useLayout_->setSpacing(0);

    auto* text = new QVBoxLayout;
    text->setSpacing(2);
    text->addLayout(heading);
    text->addLayout(noteLayout_);
    text->addLayout(useLayout_);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(beforeText);
    row->addWidget(PanelMeasures::inSymbolColumn(symbol_, this), 0, Qt::AlignTop);
    row->addLayout(text, 1);
}

bool StatusRow::present(const StatusContent& content) {
    if (shown_ == content) {
        return false;
    }
    symbol_->setSymbol(qt(content.symbol));
    symbol_->setInk(content.isInUse ? tint_ : Ink::secondary);
    if (!shown_ || shown_->title != content.title) {
        title_->setPlain(qt(content.title));
        setAccessibleName(qt(content.title));
    }
    if (!shown_ || shown_->note != content.note) {
        note_->setPlain(qt(content.note));
        note_->setVisible(!content.note.empty());
    }
    if (!shown_ || shown_->state != content.state) {
        state_->setPlain(qt(content.state));
        state_->setVisible(!content.state.empty());
    }
    const bool isOther = !shown_ || shown_->mutedByVelmoran != content.mutedByVelmoran;
    if (isOther) {
        unmuteFocus_.setVisible(content.mutedByVelmoran);
        noteLayout_->setContentsMargins(UseLine::inset, content.mutedByVelmoran ? belowButton : 0,
                                        0, 0);
    }
    const bool areOther = uses_.update(
        content.uses, [](const StatusContent::Use& use) { return use.session; },
        [this](const StatusContent::Use& use) {
            auto* line = new UseLine(picture_, use.app, this);
            QObject::connect(line, &QAbstractButton::clicked, this,
                             [this, session = use.session] { actions_.showDetails(session); });
            line->show();
            return line;
        },
        [](UseLine& line, const StatusContent::Use& use) { line.present(use); });
    shown_ = content;
    return isOther || areOther;
}

std::vector<QWidget*> StatusRow::focusOrder() {
    std::vector<QWidget*> order = {this, unmute_};
    const auto uses = uses_.widgets();
    order.insert(order.end(), uses.begin(), uses.end());
    return order;
}

} // namespace velmoran
