#include "app/contents/ChartSpan.h"

#include "core/text/Localizer.h"

namespace velmoran {

std::string labelOf(ChartSpan span) {
    switch (span) {
    case ChartSpan::week:
        return words().text("Week");
    case ChartSpan::month:
        return words().text("Month");
    case ChartSpan::quarter:
        break;
    }
    return words().text("90 days");
}

int daysIn(ChartSpan span) {
    return span == ChartSpan::week ? 7 : span == ChartSpan::month ? 30 : 90;
}

int daysBetweenLabels(ChartSpan span) {
    return span == ChartSpan::week ? 1 : span == ChartSpan::month ? 7 : 14;
}

} // namespace velmoran
