// The user's decisions per app and device, in the order in which they were taken. A plain value;
// the one live copy belongs to the application model and its main thread, which also stores it.
#pragma once

#include "core/base/Fields.h"
#include "core/records/AppIdentity.h"
#include "core/records/Device.h"
#include "core/trust/TrustKind.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class Localizer;

struct TrustRule {
    AppIdentity app; ///< as it was when the rule was written; only `id` and `teamID` are matched
    Device device = Device::camera;
    TrustKind kind = TrustKind::trusted;

    /// App id and device, as "org.example.meet|camera".
    std::string id() const;

    bool operator==(const TrustRule&) const = default;
};

/// Reading is strict: one missing key or unknown name fails the whole list.
void visitFields(MaybeConst<TrustRule> auto& rule, auto visit) {
    visit("app", rule.app);
    visit("device", rule.device);
    visit("kind", rule.kind);
}

/// Lookups match the app's `id` and `teamID`, so that the same id from another maker inherits no
/// trust; writes replace by `id` alone, so that no rule of another maker stays beside the new one.
/// The speaker and an app that can't be named never get a rule. A rewritten rule moves to the end.
class TrustList {
public:
    /// One line of a list in the settings: an app, and its devices in their fixed order.
    struct Entry {
        AppIdentity app;
        std::vector<Device> devices;

        bool operator==(const Entry&) const = default;
    };

    const std::vector<TrustRule>& rules() const { return rules_; }

    /// Nothing when there is no rule.
    std::optional<TrustKind> kind(const AppIdentity& app, Device device) const;
    bool isTrusted(const AppIdentity& app, Device device) const;
    bool alwaysWarns(const AppIdentity& app, Device device) const;

    /// Each of these two decisions leaves the other as it is.
    void setTrusted(bool trusted, const AppIdentity& app, const std::vector<Device>& devices);
    void setAlwaysWarn(bool alwaysWarn, const AppIdentity& app, const std::vector<Device>& devices);
    /// Overwrites both decisions; nothing removes the rule.
    void set(std::optional<TrustKind> kind, const AppIdentity& app,
             const std::vector<Device>& devices);

    /// The apps with that decision, sorted by name in the locale's order whatever the case. An app
    /// with both decisions stands in the lists of `trusted` and of `alwaysWarn`.
    std::vector<Entry> entries(TrustKind kind) const;
    std::vector<Entry> entries(TrustKind kind, const Localizer& localizer) const;

    bool operator==(const TrustList&) const = default;
    friend void visitFields(MaybeConst<TrustList> auto& list, auto visit) {
        visit("rules", list.rules_);
    }

private:
    void replace(std::optional<TrustKind> kind, const AppIdentity& app, Device device);

    std::vector<TrustRule> rules_;
};

} // namespace velmoran

template <>
struct std::hash<velmoran::TrustRule> : velmoran::FieldHash<velmoran::TrustRule> {};
