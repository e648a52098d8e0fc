// Writes what a model tells as JSON Lines, one object a line, with the random identifiers replaced
// by "s1", "r1", "e1", "n1" and so on in the order in which each first appears. One thread.
#pragma once

#include "app/notices/NoticeItem.h"
#include "core/away/AwayReport.h"
#include "core/base/Json.h"
#include "core/base/Timestamp.h"
#include "core/base/Uuid.h"
#include "core/history/ActivityRow.h"
#include "core/records/UsageSession.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace velmoran {

class ReplayWriter {
public:
    /// `sink` gets each line without its end, and passes it on at once.
    explicit ReplayWriter(std::function<void(const std::string&)> sink) : sink_(std::move(sink)) {}

    /// "at" and "event", and then the keys of `further` in their order.
    void write(Seconds at, std::string_view event, const Json& further = Json::object());

    /// The records in the form in which they stand in the output.
    Json session(const UsageSession& session);
    Json notice(const NoticeItem& item);
    Json report(const AwayReport& report);
    /// With its sessions by their short names.
    Json row(const ActivityRow& row);
    std::string sessionID(const Uuid& id) { return sessions_.name(id); }
    std::string noticeID(const Uuid& id) { return notices_.name(id); }

    /// Forgets a card's short name: it never comes again.
    void forgetNotice(const Uuid& id) { notices_.names.erase(id); }
    void forgetAllNotices() { notices_.names.clear(); }
    /// How many sessions have a short name, and forgetting all but these: what neither the history
    /// nor the engine holds any more can't come again.
    std::size_t knownSessions() const { return sessions_.names.size(); }
    void keepOnlySessions(const std::unordered_set<Uuid>& ids);

private:
    struct Names {
        explicit Names(char given) : letter(given) {}
        std::string name(const Uuid& id);

        char letter;
        std::uint64_t last = 0;
        std::unordered_map<Uuid, std::uint64_t> names;
    };

    std::function<void(const std::string&)> sink_;
    Names sessions_{'s'};
    Names notices_{'n'};
    Names reports_{'r'};
    Names happenings_{'e'}; ///< in reports
};

} // namespace velmoran
