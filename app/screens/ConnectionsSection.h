// With whom the app was connected: a sentence, or a list that can be folded open. Main thread.
#pragma once

#include "app/contents/ConnectionsContent.h"
#include "app/controls/Groups.h"
#include "app/controls/Labels.h"
#include "app/screens/PeerList.h"

#include <optional>

namespace velmoran {

class ConnectionsSection final : public QWidget {
public:
    explicit ConnectionsSection(int width, QWidget* parent);
    void present(const ConnectionsContent& content);
    bool showsList() const { return list_->isOpen() && !list_->isHidden(); }

private:
    LineLabel* heading_;
    TextLabel* sentence_;
    TextLabel* explanation_;
    PeerList* peers_;
    Disclosure* list_;
    std::optional<ConnectionsContent> shown_;
};

} // namespace velmoran
