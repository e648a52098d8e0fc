#include "app/screens/AwayReportsView.h"

#include "app/controls/Groups.h"
#include "core/text/Localizer.h"

#include <QVBoxLayout>

namespace velmoran {

AwayReportsView::AwayReportsView(const ScreenContext&, QWidget* parent) : QWidget(parent) {
    setObjectName("awayReports");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    // Nothing makes reports yet, so the list is always the empty one.
    layout->addWidget(new EmptyState(
        "eye", QString::fromStdString(words().text("No Away watch reports yet")),
        QString::fromStdString(words().text("A report appears here when something happened while "
                                            "the screen was locked.")),
        this));
}

} // namespace velmoran
