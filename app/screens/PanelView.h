// The sheet that opens from the status icon: what is on right now, how to stop it, what was on
// recently. While it is shown it ticks each second and draws anew what has changed; hidden it costs
// nothing. As wide as it always is, and as high as it has to be: it takes that size by itself, so
// that what holds it has to follow. Main thread.
#pragma once

#include "app/contents/PanelContent.h"
#include "app/controls/Buttons.h"
#include "app/controls/KeptFocus.h"
#include "app/screens/RecentActivityView.h"
#include "app/screens/ScreenContext.h"
#include "app/screens/SpeakerRow.h"
#include "app/screens/StatusRow.h"

#include <QVBoxLayout>
#include <optional>
#include <vector>

namespace velmoran {

class PanelView final : public QWidget {
public:
    explicit PanelView(ScreenContext context, QWidget* parent = nullptr);

    /// What a hidden panel leaves undone: whoever is about to show it, and has to know its height,
    /// asks for it.
    void refresh();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void layOut();
    void watch();
    void noteChange();
    void present();
    void presentWarnings(const std::vector<std::string>& warnings);
    void orderFocus();
    void showDetailsOf(const Uuid& session) const;

    ScreenContext context_;
    StatusRow* camera_;
    StatusRow* microphone_;
    SpeakerRow* speaker_;
    FaceButton* stop_;
    KeptFocus stopFocus_;
    RecentActivityView* recent_;
    QVBoxLayout* warningLayout_;
    std::vector<LinkButton*> links_;
    std::vector<ActivityRow> rows_;
    std::optional<std::vector<std::string>> shownWarnings_;
    std::vector<Subscription> watching_;
    Subscription tick_;
};

} // namespace velmoran
