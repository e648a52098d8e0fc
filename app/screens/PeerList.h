// The peers of an app, one under the other; as many as there are cost no more than those in sight.
// Part of ConnectionsSection; main thread.
#pragma once

#include "app/contents/ConnectionsContent.h"

#include <QListView>
#include <QStandardItemModel>
#include <vector>

namespace velmoran {

class PeerList final : public QListView {
public:
    explicit PeerList(QWidget* parent);
    /// What is in sight stays where it is.
    void present(const std::vector<ConnectionsContent::Peer>& peers);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void changeEvent(QEvent* event) override;

private:
    QStandardItemModel peers_;
    std::vector<ConnectionsContent::Peer> shown_;
};

} // namespace velmoran
