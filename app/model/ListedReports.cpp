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

bool isListed(const AwayReport& report, const AwayReport* current) {
    return (current && report.id == current->id) || (report.end && !report.isEmpty());
}

} // namespace

ListedReports::List ListedReports::update(Payloads payloads, const AwayReport* current,
                                          std::string_view currentText) {
    const auto id = current ? std::optional(current->id) : std::nullopt;
    if (payloads == payloads_ && id == current_) {
        return list_;
    }
    std::vector<AwayReport> reports;
    std::unordered_map<std::string_view, std::size_t> read;
    for (const auto& payload : *payloads) {
        const auto known = read_.find(payload);
        std::optional<AwayReport> report;
        if (known != read_.end()) {
            report = (*list_)[known->second];
        } else if (current && payload == currentText) {
            report = *current;
        } else {
            report = readReport(payload);
        }
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
    current_ = id;
    return list_;
}

} // namespace velmoran
