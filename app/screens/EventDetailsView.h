// One line of activity with all that is known of it: which app, when and for how long, whether it
// is trusted, with whom it was connected. Follows its row while it is shown; takes its height by
// itself. Main thread.
#pragma once

#include "app/contents/DetailsContent.h"
#include "app/controls/Groups.h"
#include "app/controls/Labels.h"
#include "app/screens/AppNameView.h"
#include "app/screens/ConnectionsSection.h"
#include "app/screens/ScreenContext.h"
#include "app/screens/TrustControls.h"

#include <QGridLayout>
#include <QVBoxLayout>
#include <optional>
#include <vector>

namespace velmoran {

class EventDetailsView final : public QWidget {
public:
    /// `rowID` is the id of a row, or of any session in it.
    EventDetailsView(ScreenContext context, Uuid rowID, QWidget* parent = nullptr);

    bool showsTechnicalDetails() const { return technical_->isOpen(); }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void layOut();
    QWidget* makeHeader();
    void refresh();
    void present();
    void tickWhileOpen();
    void presentFields(const std::vector<DetailsContent::Field>& fields);
    void presentTechnical(const std::vector<std::string>& lines);

    ScreenContext context_;
    Uuid rowID_;
    std::optional<ActivityRow> row_;
    std::optional<SystemProcess> process_;
    std::optional<DetailsContent> shown_;
    TextLabel* vanished_;
    QWidget* details_;
    AppImage* image_ = nullptr;
    AppNameView* name_ = nullptr;
    TrustControls* trust_ = nullptr;
    QWidget* fields_ = nullptr;
    QGridLayout* fieldGrid_ = nullptr;
    std::vector<TextLabel*> fieldValues_;
    QWidget* systemProcess_ = nullptr;
    LineLabel* systemLabel_ = nullptr;
    TextLabel* systemExplanation_ = nullptr;
    ConnectionsSection* connections_ = nullptr;
    Disclosure* technical_ = nullptr;
    QVBoxLayout* technicalLines_ = nullptr;
    std::vector<Subscription> watching_;
    Subscription tick_; ///< while it is shown and its row isn't over
};

} // namespace velmoran
