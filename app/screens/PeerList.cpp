#include "app/screens/PeerList.h"

#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "app/look/TextStyle.h"
#include "app/screens/ScreenText.h"

#include <QEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>
#include <cstddef>

namespace velmoran {

namespace {

constexpr int mostPeers = 5; ///< in sight at once
constexpr int peerPadding = 6;
constexpr int peerGap = 8;

enum Role { portRole = Qt::UserRole + 1, firstSeenRole };

/// Address, under it the port, at the right the time.
class PeerDrawing final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        const QFontMetrics address(font(TextStyle::monospaced, option.font));
        const QFontMetrics caption(font(TextStyle::caption, option.font));
        return {address.averageCharWidth() * 20,
                address.height() + caption.height() + 2 * peerPadding};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const ScreenColors colors(option.palette);
        const bool isCurrent = option.state.testFlag(QStyle::State_HasFocus);
        painter->save();
        if (isCurrent) {
            painter->fillRect(option.rect, colors.hover);
        }
        const auto* list = qobject_cast<const QListView*>(option.widget);
        const int beforeBar = list && list->verticalScrollBar()->isVisible() ? peerGap : 0;
        const auto place = option.rect.adjusted(0, peerPadding, -beforeBar, -peerPadding);
        const auto captionFont = font(TextStyle::captionTabular, option.font);
        const QFontMetrics caption(captionFont);
        const auto time = index.data(firstSeenRole).toString();
        const int timeWidth = caption.horizontalAdvance(time);
        painter->setFont(font(TextStyle::monospaced, option.font));
        painter->setPen(colors.text);
        const auto addressPlace = place.adjusted(0, 0, -timeWidth - peerGap, -caption.height());
        painter->drawText(addressPlace, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                          painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideRight,
                                                            addressPlace.width()));
        painter->setFont(captionFont);
        painter->setPen(colors.secondary);
        painter->drawText(place, Qt::AlignLeft | Qt::AlignBottom | Qt::TextSingleLine,
                          caption.elidedText(index.data(portRole).toString(), Qt::ElideRight,
                                             place.width() - timeWidth - peerGap));
        painter->drawText(place, Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine, time);
        painter->restore();
    }
};

QStandardItem* itemFor(const ConnectionsContent::Peer& peer) {
    const auto plain = [](const std::string& text) {
        return harmlessText(qt(text)).simplified();
    };
    auto* item = new QStandardItem(plain(peer.address));
    item->setEditable(false);
    item->setToolTip(item->text());
    item->setData(plain(peer.port), portRole);
    item->setData(plain(peer.firstSeen), firstSeenRole);
    auto spoken = item->text() + QStringLiteral(", ") + item->data(portRole).toString();
    if (!peer.firstSeen.empty()) {
        spoken += QStringLiteral(", ") + item->data(firstSeenRole).toString();
    }
    item->setAccessibleText(spoken);
    return item;
}

} // namespace

PeerList::PeerList(QWidget* parent) : QListView(parent) {
    setObjectName(QStringLiteral("peers"));
    setModel(&peers_);
    setItemDelegate(new PeerDrawing(this));
    setUniformItemSizes(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setAutoFillBackground(false);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void PeerList::present(const std::vector<ConnectionsContent::Peer>& peers) {
    if (shown_ == peers) {
        return;
    }
    // More are seen as time passes, and a row keeps those that it has.
    const auto same =
        static_cast<std::size_t>(std::ranges::mismatch(shown_, peers).in1 - shown_.begin());
    peers_.removeRows(static_cast<int>(same), peers_.rowCount() - static_cast<int>(same));
    for (std::size_t at = same; at < peers.size(); ++at) {
        peers_.appendRow(itemFor(peers[at]));
    }
    shown_ = peers;
    updateGeometry();
}

QSize PeerList::sizeHint() const {
    QStyleOptionViewItem option;
    option.font = font();
    const int line = itemDelegate()->sizeHint(option, {}).height();
    return {200, line * std::clamp(peers_.rowCount(), 1, mostPeers)};
}

void PeerList::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) {
        updateGeometry();
    }
    QListView::changeEvent(event);
}

} // namespace velmoran
