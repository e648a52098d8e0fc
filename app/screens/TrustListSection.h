// One of the two lists of the settings: the apps that are trusted, or those that always warn. Makes
// its rows anew when the rules change. Owned by the settings; main thread.
#pragma once

#include "app/contents/TrustEntries.h"
#include "app/screens/ScreenContext.h"

#include <QWidget>

namespace velmoran {

class FormSection;

class TrustListSection final : public QWidget {
public:
    TrustListSection(ScreenContext context, TrustKind kind, QWidget* parent);

private:
    void refresh();
    void build();
    QWidget* makeRow(const TrustEntry& entry);
    void act(const TrustEntry& entry);

    ScreenContext context_;
    TrustKind kind_;
    FormSection* section_;
    TrustEntries shown_;
    bool showsSystemProcesses_ = false;
    Subscription watching_;
};

} // namespace velmoran
