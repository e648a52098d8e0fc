// A line of the lists of trust in the settings: an app, its devices, and the button that takes it
// out of the list. Owned by its section; main thread.
#pragma once

#include "app/contents/TrustEntries.h"
#include "app/controls/Buttons.h"
#include "app/screens/AppNameView.h"
#include "app/screens/ScreenContext.h"

#include <functional>

namespace velmoran {

class TrustRow final : public QWidget {
public:
    using Act = std::function<void(const TrustEntry&)>;

    /// `act` is the button's.
    TrustRow(const AppPicture& picture, TrustKind kind, Act act, QWidget* parent);
    void present(const TrustEntry& entry);
    const TrustEntry& entry() const { return entry_; }
    FaceButton& button() { return *button_; }

private:
    TrustKind kind_;
    TrustEntry entry_;
    AppImage* image_;
    AppNameView* name_;
    LineLabel* devices_;
    FaceButton* button_;
};

} // namespace velmoran
