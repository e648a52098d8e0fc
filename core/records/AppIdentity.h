// Who uses a device. A plain value; any thread.
#pragma once

#include "core/base/Fields.h"

#include <algorithm>
#include <string>
#include <vector>

namespace velmoran {

struct AppIdentity {
    std::string id;                      ///< the stable key, by which apps are matched
    std::string name;                    ///< shown to people
    std::optional<std::string> bundleID; ///< bundle identifier, or the id of a desktop application
    std::optional<std::string> path;     ///< of the app or executable; the icon is drawn from it
    std::optional<std::string> teamID; ///< who made or installed it, as far as that can be trusted

    /// A process that is seen to use a device but can't be told apart from what it pretends to be.
    /// No id says so, since a program may choose its own. Beside `unknown` because such a use can
    /// go on next to named ones, and each such process is a use of its own.
    bool unidentified = false;

    static constexpr const char* unknownID = "unknown";
    /// Stands for a device that is on while nobody can be named. Its name is one of the
    /// process-wide words, so it is the same constant for as long as these stay.
    static AppIdentity unknown();
    /// What that name is in each of the languages that the program speaks.
    static const std::vector<std::string>& unknownNames();
    /// By `id` only, so an identity that was stored in another language still counts.
    bool isUnknown() const { return id == unknownID; }
    /// True for the unknown identity and for every unidentified one: never trusted, never closed,
    /// always told strongly.
    bool cannotBeNamed() const { return unidentified || isUnknown(); }
    /// Whatever else was told of them: by `id`, which stands for one app among those that can be
    /// named and for another among those that can't.
    bool isSameApp(const AppIdentity& other) const {
        return id == other.id && unidentified == other.unidentified;
    }
    bool isAmong(const std::vector<AppIdentity>& apps) const {
        return std::any_of(apps.begin(), apps.end(),
                           [this](const AppIdentity& each) { return isSameApp(each); });
    }

    bool operator==(const AppIdentity&) const = default;
};

void visitFields(MaybeConst<AppIdentity> auto& app, auto visit) {
    visit("id", app.id);
    visit("name", app.name);
    visit("bundleID", app.bundleID);
    visit("path", app.path);
    visit("teamID", app.teamID);
    visit("unidentified", app.unidentified, OnlyIfTrue());
}

} // namespace velmoran

template <>
struct std::hash<velmoran::AppIdentity> : velmoran::FieldHash<velmoran::AppIdentity> {};
