// The camera or the microphone right now: what uses it, and since a stop the way to unmute. Part of
// the panel; main thread.
#pragma once

#include "app/contents/StatusContent.h"
#include "app/controls/Buttons.h"
#include "app/controls/KeptFocus.h"
#include "app/screens/KeyedLines.h"
#include "app/screens/UseLine.h"

#include <QBoxLayout>
#include <functional>
#include <optional>
#include <vector>

namespace velmoran {

class StatusRow final : public QWidget {
public:
    struct Actions {
        std::function<void(const Uuid& session)> showDetails;
        std::function<void()> unmute;
    };

    StatusRow(Ink tint, AppPicture picture, Actions actions, QWidget* parent);
    /// True if the keyboard's way through it is another one now.
    bool present(const StatusContent& content);
    /// What takes the keyboard, in its order; first itself, which keeps it for a button that goes.
    std::vector<QWidget*> focusOrder();

private:
    Ink tint_;
    AppPicture picture_;
    Actions actions_;
    SymbolLabel* symbol_;
    LineLabel* title_;
    TextLabel* note_;
    LineLabel* state_;
    FaceButton* unmute_;
    QHBoxLayout* noteLayout_;
    KeptFocus unmuteFocus_;
    QVBoxLayout* useLayout_;
    KeyedLines<UseLine> uses_;
    std::optional<StatusContent> shown_;
};

} // namespace velmoran
