// The floating stop button: on the screen exactly while camera or microphone is on, if the user
// wants it. Decides when it is there, what it says and where; the panel shows it. Owned by the
// application delegate; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/shell/floating/FloatingPanel.h"
#include "app/shell/floating/FloatingStopPlacing.h"

#include <QObject>
#include <memory>
#include <string>
#include <vector>

namespace velmoran {

class FloatingStopButton final : public QObject {
public:
    /// All outlive the button. `press` is what a click does.
    FloatingStopButton(AppModel& model, Scheduler& scheduler, std::function<void()> press,
                       Overlays& overlays = placedOverlays());

    bool visible() const { return visible_; }
    bool expanded() const { return expanded_; }
    /// Null until it has been shown once; kept from then on.
    FloatingPanel* panel() const { return panel_.get(); }
    /// Puts it where it belongs on the screens as they are now, if it is there.
    void layOut();
    /// What can be seen of it, on the desktop; empty while it isn't there.
    QRect frame() const;
    /// What the button says; empty while nothing is on.
    static std::string label(const SystemSnapshot& snapshot);

    /// The desktop lets it stand nowhere any more.
    std::function<void()> onLost = [] {
    };

    static constexpr Seconds labelTime = 4.0;      ///< after it came
    static constexpr Seconds labelTimeAfter = 0.8; ///< after the mouse has left it

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void refresh();
    void startLabelTimer(Seconds seconds);
    void hover(bool inside);
    void savePlace();
    void makePanel();

    AppModel& model_;
    Scheduler& scheduler_;
    Overlays& overlays_;
    std::function<void()> press_;
    std::unique_ptr<FloatingPanel> panel_;
    bool visible_ = false;
    bool expanded_ = false;
    bool hovering_ = false;
    Subscription collapse_; ///< the label's pending fold
    std::vector<Subscription> watching_;
};

} // namespace velmoran
