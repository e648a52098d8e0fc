#include "app/screens/TimeColumn.h"

#include "app/look/TextStyle.h"
#include "core/text/Localizer.h"

#include <QString>
#include <algorithm>
#include <cmath>

namespace velmoran {

int timeColumnWidth(const QFont& digits) {
    double widest = 46;
    // Some hours are written wider than others.
    for (int quarter = 0; quarter < 96; ++quarter) {
        const auto time = words().shortTime({quarter * 900.0 + 44 * 60});
        widest = std::max(widest, evenWidth(digits, QString::fromStdString(time)));
    }
    return static_cast<int>(std::ceil(widest)) + 2; // a text that just fits isn't cut
}

} // namespace velmoran
