// What the user is asked before a stop closes browsers, and its words. Plain values; any thread.
#pragma once

#include <string>
#include <vector>

namespace velmoran {

struct BrowserQuestion {
    std::vector<std::string> browsers; ///< names, at least one
    bool keepOffered = false;          ///< the rest can be stopped without them

    // In the language of the process-wide words.
    std::string message() const;
    std::string text() const;
    std::string closeButton() const;
    std::string keepButton() const; ///< of use only with `keepOffered`
    std::string cancelButton() const;

    bool operator==(const BrowserQuestion&) const = default;
};

} // namespace velmoran
