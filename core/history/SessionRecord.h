// One row of the table of sessions, as the database hands it over, and what it means. The columns
// point into memory of the database and are read at once; nobody owns a row for longer.
#pragma once

#include "core/records/UsageSession.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

/// A value with the type that it happens to have: a database file can hold anything anywhere.
struct Column {
    enum class Kind { null, integer, real, text, blob };

    Kind kind = Kind::null;
    std::int64_t integer = 0;
    double real = 0;
    std::string_view bytes; ///< of a text or a blob
};

/// The columns of a row in the order of the table.
struct SessionRecord {
    Column id;        ///< UUID in upper case
    Column deviceRaw; ///< case name of Device
    Column appID;
    Column appName;
    Column bundleID;        ///< or null; empty of an unidentified process, as no app's ever is
    Column appPath;         ///< or null
    Column teamID;          ///< or null
    Column start;           ///< seconds since 2001-01-01 00:00:00 UTC
    Column end;             ///< likewise; null while open or if nobody knows
    Column outcomeRaw;      ///< case name of SessionOutcome; null while open
    Column levelRaw;        ///< case name of WarningLevel; null without a level
    Column connectionsData; ///< JSON array of ConnectionRecord; null without connections
    Column observedFromStart;

    static constexpr std::array<const char*, 13> columnNames = {"id",
                                                                "deviceRaw",
                                                                "appID",
                                                                "appName",
                                                                "bundleID",
                                                                "appPath",
                                                                "teamID",
                                                                "start",
                                                                "end",
                                                                "outcomeRaw",
                                                                "levelRaw",
                                                                "connectionsData",
                                                                "observedFromStart"};
};

/// Nothing if the row can't be read: an unknown device, a broken UUID, or a value of the wrong type
/// in any column but the last-named three. An unknown outcome or level reads as none, connections
/// that don't decode as an empty list. The unknown app's id gives the constant, whatever else is
/// stored of it.
std::optional<UsageSession> sessionFrom(const SessionRecord& row);

/// What stands in that column for an app; valid as long as that is.
std::optional<std::string_view> bundleIDColumn(const AppIdentity& app);

/// What `sessionFrom` will give for a session that is stored now, with these connections.
UsageSession asStored(const UsageSession& session, const std::optional<std::string>& connections);

} // namespace velmoran
