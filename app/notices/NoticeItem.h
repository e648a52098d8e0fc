// One card under the icon, already in words. A plain value, held by the notice center; main thread
// only, since its actions are.
#pragma once

#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"
#include "core/records/AppIdentity.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

struct NoticeButton {
    Uuid id = Uuid::random();
    std::string title;
    bool prominent = false;       ///< drawn as the default action
    std::function<void()> action; ///< run on click
    /// Run instead on a card that stands for several, whose ids these are, its own among them.
    /// Empty: each of them does what it does alone.
    std::function<void(const std::vector<Uuid>& cards)> actionTogether = {};
};

struct NoticeItem {
    Uuid id;                            ///< a warning's card has the id of its warning
    std::optional<std::string> appPath; ///< the app whose icon is shown
    std::optional<AppIdentity> app;     ///< who that is, for whoever looks for the icon
    std::optional<std::string> symbol;  ///< name of a symbol, used when there is no app
    bool isStrong = false;              ///< the symbol takes the warning colour
    bool isStopResult = false;          ///< says what came of a stop
    std::string title;
    std::optional<std::string> message;
    std::string timeText;
    std::optional<Timestamp> since; ///< when it happened; absent: when the card came
    /// Other cards that this one stands for where those of an app are joined; the list of cards
    /// itself has each alone.
    std::vector<Uuid> older;
    std::vector<NoticeButton> buttons;
    std::optional<Seconds> autoHideAfter; ///< absent: stays until closed
    std::function<void()> onClose;        ///< run when the user closes the card; may be empty
};

} // namespace velmoran
