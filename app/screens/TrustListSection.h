// One of the two lists of the settings: the apps that are trusted, or those that always warn. When
// the rules change, the rows of apps that stay remain what they are, and the keyboard where it is.
// Owned by the settings; main thread.
#pragma once

#include "app/contents/TrustEntries.h"
#include "app/controls/Choices.h"
#include "app/controls/Groups.h"
#include "app/screens/ScreenContext.h"
#include "app/screens/TrustRow.h"
#include "core/base/Observable.h"

#include <QWidget>
#include <vector>

namespace velmoran {

class TrustListSection final : public QWidget {
public:
    /// Whether the parts of the system are shown is one choice for both lists.
    TrustListSection(ScreenContext context, TrustKind kind, Observable<bool>& showsProcesses,
                     QWidget* parent);

private:
    void refresh();
    void arrange();
    TrustRow* rowOf(const TrustEntry& entry);
    /// Who gets the keyboard from a row that isn't among those that are left; null if none has it.
    QWidget* heirAmong(const std::vector<TrustRow*>& left) const;
    void act(const TrustEntry& entry);

    ScreenContext context_;
    TrustKind kind_;
    Observable<bool>& showsProcesses_;
    FormSection* section_;
    TrustEntries shown_;
    std::vector<TrustRow*> rows_; ///< in their order
    QWidget* emptyNote_;
    Switch* processesSwitch_;
    FormRow* processes_;
    QWidget* processesHeading_;
    Subscription watching_;
    Subscription choice_;
};

} // namespace velmoran
