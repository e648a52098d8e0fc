// What the details say of one row of activity. A plain value, in the language of the process-wide
// words; made anew when the row changes, and as its duration grows. Main thread.
#pragma once

#include "app/contents/ConnectionsContent.h"
#include "app/contents/TrustChoice.h"
#include "core/history/ActivityRow.h"
#include "core/sessions/SystemProcess.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// A part of the operating system, in the words that explain it.
struct SystemProcessContent {
    std::string label;       ///< in place of times
    std::string help;        ///< of the button that explains it
    std::string heading;     ///< with the app's name
    std::string explanation; ///< what it does
    std::string assurance;   ///< why that can be relied on

    static SystemProcessContent of(const std::string& name, const SystemProcess& process);

    bool operator==(const SystemProcessContent&) const = default;
};

struct DetailsContent {
    struct Field {
        std::string title;
        std::string value;

        bool operator==(const Field&) const = default;
    };

    AppIdentity app;
    TrustChoice trust;
    std::optional<SystemProcessContent> systemProcess = {}; ///< then there are no fields
    std::vector<Field> fields = {};
    ConnectionsContent connections;
    std::vector<std::string> technical; ///< one line each

    /// `process` is the part of the system that the row's app is, by what has been verified.
    static DetailsContent of(const ActivityRow& row, const std::optional<SystemProcess>& process,
                             const TrustList& trust, Timestamp now);
    static std::string technicalHeading();
    /// Instead of it all, when the history has no such row any more.
    static std::string vanished();

    bool operator==(const DetailsContent&) const = default;
};

} // namespace velmoran
