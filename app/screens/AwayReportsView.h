// The tab of the History window that lists the reports of the away watch. Main thread.
#pragma once

#include "app/screens/ScreenContext.h"

#include <QWidget>

namespace velmoran {

class AwayReportsView final : public QWidget {
public:
    AwayReportsView(const ScreenContext& context, QWidget* parent);
};

} // namespace velmoran
