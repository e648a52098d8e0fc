// The JSON text of the report that is being written. A report is stored whole after each event, so
// what stands in it already isn't put into words again. Owned by whoever stores it; one thread.
#pragma once

#include "core/away/AwayReport.h"

#include <cstddef>
#include <optional>
#include <string>

namespace velmoran {

class AwayReportText {
public:
    /// What `encode` gives, in a time that goes by what is new since the last call. Of a report
    /// that goes on events are only ever added; one that has ended is written anew.
    std::string of(const AwayReport& report);

private:
    bool goesOn(const AwayReport& report) const;

    Uuid id_; ///< of the report whose events these are
    std::optional<AwayEvent> last_;
    std::size_t count_ = 0;
    std::string events_; ///< with commas between them
};

} // namespace velmoran
