#include "app/model/ListedReports.h"

#include <utility>

namespace velmoran {

namespace {

std::optional<AwayReport> readReport(const std::string& payload) {
    try {
        return decode<AwayReport>(payload);
    } catch (const DecodingError&) {
        return std::nullopt;
    }
}

bool isListed(const AwayReport& report, const std::optional<Uuid>& current) {
    return report.id == current || (report.end && !report.isEmpty());
}

} // namespace

ListedReports::List ListedReports::update(Payloads payloads, const std::optional<Uuid>& current) {
    if (payloads == payloads_ && current == current_) {
        return list_;
    }
    std::vector<AwayReport> reports;
    std::unordered_map<std::string_view, std::size_t> read;
    for (const auto& payload : *payloads) {
        const auto known = read_.find(payload);
        auto report =
            known == read_.end() ? readReport(payload) : std::optional((*list_)[known->second]);
        if (report && isListed(*report, current)) {
            read.emplace(payload, reports.size());
            reports.push_back(std::move(*report));
        }
    }
    if (reports != *list_) {
        list_ = std::make_shared<const std::vector<AwayReport>>(std::move(reports));
    }
    read_ = std::move(read);
    payloads_ = std::move(payloads);
    current_ = current;
    return list_;
}

} // namespace velmoran
