// Which reports of the away watch the user gets to see, out of the texts that the history holds.
// What was read before isn't read again. Owned by the keeper of the history; main thread.
#pragma once

#include "core/away/AwayReport.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace velmoran {

class ListedReports {
public:
    using List = std::shared_ptr<const std::vector<AwayReport>>;
    using Payloads = std::shared_ptr<const std::vector<std::string>>;

    /// In the order of the texts: the report that is being written, and what has ended and isn't
    /// empty. One without an end was being written when the program died. A text that can't be read
    /// is left out. Never null; the same list as last time where nothing has changed. What is being
    /// written changes each time, so that text, if it is given, isn't read.
    List update(Payloads payloads, const AwayReport* current, std::string_view currentText = {});

private:
    List list_ = std::make_shared<const std::vector<AwayReport>>();
    Payloads payloads_;                                      ///< behind the keys of `read_`
    std::optional<Uuid> current_;                            ///< the report that was being written
    std::unordered_map<std::string_view, std::size_t> read_; ///< to the place in the list
};

} // namespace velmoran
