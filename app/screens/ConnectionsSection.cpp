#include "app/screens/ConnectionsSection.h"

#include "app/screens/ScreenText.h"

#include <QVBoxLayout>

namespace velmoran {

ConnectionsSection::ConnectionsSection(int width, QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("connections"));
    heading_ =
        new LineLabel(qt(ConnectionsContent::heading()), TextStyle::headline, Ink::text, this);
    sentence_ = new TextLabel({}, TextStyle::body, Ink::secondary, this);
    auto* folded = new QWidget(this);
    // Before what it folds, as the Tab key goes.
    list_ = new Disclosure(qt(ConnectionsContent::heading()), folded, this);
    explanation_ = new TextLabel({}, TextStyle::caption, Ink::secondary, folded);
    peers_ = new PeerList(folded);
    peers_->setAccessibleName(qt(ConnectionsContent::heading()));
    auto* inside = new QVBoxLayout(folded);
    inside->setContentsMargins(0, 4, 0, 0);
    inside->setSpacing(8);
    inside->addWidget(explanation_);
    inside->addWidget(peers_);
    for (QWidget* each : {static_cast<QWidget*>(heading_), static_cast<QWidget*>(sentence_),
                          static_cast<QWidget*>(list_)}) {
        each->setFixedWidth(width);
    }
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addWidget(heading_);
    column->addWidget(sentence_);
    column->addWidget(list_);
}

void ConnectionsSection::present(const ConnectionsContent& content) {
    if (shown_ == content) {
        return;
    }
    shown_ = content;
    const bool hasPeers = !content.peers.empty();
    heading_->setVisible(!hasPeers);
    sentence_->setVisible(!hasPeers);
    list_->setVisible(hasPeers);
    (hasPeers ? explanation_ : sentence_)->setPlain(qt(content.text));
    peers_->present(content.peers);
}

} // namespace velmoran
