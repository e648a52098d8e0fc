// The two switches of trust for the app and the devices of a row. Neither changes anything by
// itself: each asks first what will be done. Not there where no rule can be written. Main thread.
#pragma once

#include "app/contents/TrustChoice.h"
#include "app/controls/Buttons.h"

#include <QDialog>
#include <QPointer>
#include <optional>

namespace velmoran {

class TrustControls final : public QWidget {
public:
    using Change = TrustChange;

    /// The model outlives this.
    TrustControls(AppModel& model, QWidget* parent);
    ~TrustControls() override;
    TrustControls(const TrustControls&) = delete;
    TrustControls& operator=(const TrustControls&) = delete;

    void present(const TrustChoice& choice);
    /// Of the last button, to the right of what is drawn in it. Where symbols end as lines do, it
    /// reaches that far into the margin.
    static int besideSymbol();
    /// What the person is being asked about.
    std::optional<Change> pending() const { return pending_; }

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void ask(Change change);
    void withdraw();

    AppModel& model_;
    SymbolButton* trust_;
    SymbolButton* warn_;
    std::optional<TrustChoice> choice_;
    std::optional<Change> pending_;
    QPointer<QDialog> question_;
};

} // namespace velmoran
