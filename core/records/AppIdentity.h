// Who uses a device. A plain value; any thread.
#pragma once

#include "core/base/Json.h"

#include <optional>
#include <string>

namespace velmoran {

struct AppIdentity {
    std::string id;                      ///< the stable key: apps are matched by it alone
    std::string name;                    ///< shown to people
    std::optional<std::string> bundleID; ///< bundle identifier, or the id of a desktop application
    std::optional<std::string> path;     ///< of the app or executable; the icon is drawn from it
    std::optional<std::string> teamID; ///< who made or installed it, as far as that can be trusted

    /// Stands for a device that is on while nobody can be named. Its name is one of the
    /// process-wide words, so it is the same constant for as long as these stay.
    static AppIdentity unknown();
    /// By `id` only, so an identity that was stored in another language still counts.
    bool isUnknown() const;

    /// The id, and the beginning of ids, of processes that are seen to use a device but can't be
    /// told apart from what they pretend to be. Beside `unknown` because such a use can go on next
    /// to named ones, and each such process is a use of its own.
    static constexpr const char* unidentifiedID = "unidentified";
    /// True for the unknown identity and for every unidentified one: never trusted, never closed,
    /// always told strongly.
    bool cannotBeNamed() const;

    bool operator==(const AppIdentity&) const = default;
};

void to_json(Json& json, const AppIdentity& app);
void from_json(const Json& json, AppIdentity& app);

} // namespace velmoran

template <>
struct std::hash<velmoran::AppIdentity> {
    std::size_t operator()(const velmoran::AppIdentity& app) const noexcept;
};
