#include "core/history/SessionRecord.h"

#include "core/history/ConnectionsText.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace velmoran {

namespace {

bool readText(const Column& column, std::string& text) {
    if (column.kind != Column::Kind::text) {
        return false;
    }
    text = column.bytes;
    return true;
}

bool readText(const Column& column, std::optional<std::string>& text) {
    return column.kind == Column::Kind::null || readText(column, text.emplace());
}

bool readTime(const Column& column, Timestamp& time) {
    if (column.kind == Column::Kind::real) {
        time.seconds = column.real;
    } else if (column.kind == Column::Kind::integer) {
        time.seconds = static_cast<double>(column.integer);
    } else {
        return false;
    }
    return !std::isnan(time.seconds);
}

bool readTime(const Column& column, std::optional<Timestamp>& time) {
    return column.kind == Column::Kind::null || readTime(column, time.emplace());
}

/// Upper case only: that is how a row is found again by its id.
std::optional<Uuid> readId(const Column& column) {
    const auto isLower = [](char c) {
        return c >= 'a' && c <= 'f';
    };
    if (column.kind != Column::Kind::text || std::ranges::any_of(column.bytes, isLower)) {
        return std::nullopt;
    }
    return Uuid::parse(column.bytes);
}

AppIdentity asStored(AppIdentity app) {
    if (app.isUnknown()) {
        return AppIdentity::unknown();
    }
    if (app.unidentified || (app.bundleID && app.bundleID->empty())) {
        app.bundleID.reset();
    }
    return app;
}

} // namespace

std::optional<std::string_view> bundleIDColumn(const AppIdentity& app) {
    if (app.unidentified) {
        return "";
    }
    return app.bundleID && !app.bundleID->empty() ? std::optional<std::string_view>(*app.bundleID)
                                                  : std::nullopt;
}

std::optional<UsageSession> sessionFrom(const SessionRecord& row) {
    UsageSession session;
    const auto device = row.deviceRaw.kind == Column::Kind::text
                            ? caseNamed<Device>(row.deviceRaw.bytes)
                            : std::nullopt;
    const auto id = readId(row.id);
    if (!device || !id) {
        return std::nullopt;
    }
    session.device = *device;
    session.id = *id;
    auto& app = session.app;
    if (!readText(row.appID, app.id) || !readText(row.appName, app.name) ||
        !readText(row.bundleID, app.bundleID) || !readText(row.appPath, app.path) ||
        !readText(row.teamID, app.teamID) || !readTime(row.start, session.start) ||
        !readTime(row.end, session.end) || row.observedFromStart.kind != Column::Kind::integer) {
        return std::nullopt;
    }
    app.unidentified = app.bundleID && app.bundleID->empty();
    app = asStored(std::move(app));
    if (row.outcomeRaw.kind == Column::Kind::text) {
        session.outcome = caseNamed<SessionOutcome>(row.outcomeRaw.bytes);
    }
    if (row.levelRaw.kind == Column::Kind::text) {
        session.warningLevel = caseNamed<WarningLevel>(row.levelRaw.bytes);
    }
    if (row.connectionsData.kind == Column::Kind::blob ||
        row.connectionsData.kind == Column::Kind::text) {
        session.connections = connectionsFrom(row.connectionsData.bytes);
    }
    session.observedFromStart = row.observedFromStart.integer != 0;
    return session;
}

UsageSession asStored(const UsageSession& session, const std::optional<std::string>& connections) {
    UsageSession stored = session;
    stored.app = asStored(std::move(stored.app));
    if (stored.end && std::isnan(stored.end->seconds)) {
        stored.end = std::nullopt; // the database has no such number and keeps null
    }
    stored.connections =
        connections ? connectionsFrom(*connections) : std::vector<ConnectionRecord>();
    return stored;
}

} // namespace velmoran
