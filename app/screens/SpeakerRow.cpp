#include "app/screens/SpeakerRow.h"

#include "app/screens/PanelMeasures.h"
#include "app/screens/ScreenText.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace velmoran {

SpeakerRow::SpeakerRow(QWidget* parent)
    : QWidget(parent),
      symbol_(new SymbolLabel({}, PanelMeasures::symbolSize, Ink::secondary, this)),
      title_(new LineLabel({}, TextStyle::body, Ink::text, this)),
      line_(new TextLabel({}, TextStyle::caption, Ink::secondary, this)),
      state_(new LineLabel({}, TextStyle::tabular, Ink::secondary, this, false)) {
    line_->setMostLines(3);
    auto* heading = new QHBoxLayout;
    heading->setSpacing(PanelMeasures::gap);
    heading->addWidget(title_, 1);
    heading->addWidget(state_);
    auto* text = new QVBoxLayout;
    text->setSpacing(2);
    text->addLayout(heading);
    text->addWidget(line_);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(PanelMeasures::gap);
    row->addWidget(PanelMeasures::inSymbolColumn(symbol_, this), 0, Qt::AlignTop);
    row->addLayout(text, 1);
}

void SpeakerRow::present(const SpeakerContent& content) {
    if (shown_ == content) {
        return;
    }
    symbol_->setSymbol(qt(content.symbol));
    symbol_->setInk(content.isInUse ? Ink::text : Ink::secondary);
    title_->setPlain(qt(content.title));
    setAccessibleName(qt(content.title));
    line_->setPlain(qt(content.line));
    state_->setPlain(qt(content.state));
    state_->setVisible(!content.state.empty());
    shown_ = content;
}

} // namespace velmoran
