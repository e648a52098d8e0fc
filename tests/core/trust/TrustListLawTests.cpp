#include "core/trust/TrustList.h"

#include "support/RandomRecords.h"
#include "support/Samples.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

/// What the list should say, as two decisions per app id and device, with the team and the moment
/// of the last write.
struct Decisions {
    std::optional<std::string> teamID;
    bool trusted = false;
    bool alwaysWarn = false;
    int writtenAt = 0;
};

using Model = std::map<std::pair<std::string, Device>, Decisions>;

bool neverHasARule(const AppIdentity& user, Device device) {
    return user.id == "unknown" || user.unidentified || device == Device::speaker;
}

Decisions decisionsIn(const Model& model, const AppIdentity& user, Device device) {
    const auto found = model.find({user.id, device});
    const bool counts =
        found != model.end() && found->second.teamID == user.teamID && !neverHasARule(user, device);
    return counts ? found->second : Decisions{};
}

void write(Model& model, const AppIdentity& user, Device device, Decisions decisions, int at) {
    if (neverHasARule(user, device)) {
        return;
    }
    model.erase({user.id, device});
    if (decisions.trusted || decisions.alwaysWarn) {
        decisions.teamID = user.teamID;
        decisions.writtenAt = at;
        model[{user.id, device}] = decisions;
    }
}

std::vector<AppIdentity> someApps() {
    std::vector<AppIdentity> apps;
    for (const auto* id : {"a", "b", "unknown", "unidentified:1"}) {
        for (const auto& team : {std::optional<std::string>(), std::optional<std::string>("T"),
                                 std::optional<std::string>("U")}) {
            apps.push_back(app(id, team));
            apps.push_back(apps.back());
            apps.back().unidentified = true;
        }
    }
    return apps;
}

void compare(const TrustList& list, const Model& model) {
    for (const auto& user : someApps()) {
        for (const auto device : allDevices) {
            const auto expected = decisionsIn(model, user, device);
            RC_ASSERT(list.isTrusted(user, device) == expected.trusted);
            RC_ASSERT(list.alwaysWarns(user, device) == expected.alwaysWarn);
            RC_ASSERT(list.kind(user, device).has_value() ==
                      (expected.trusted || expected.alwaysWarn));
        }
    }
    // The same rules, in the order of the last write.
    std::vector<std::pair<int, std::string>> order;
    for (const auto& [key, decisions] : model) {
        order.emplace_back(decisions.writtenAt,
                           key.first + "|" + std::string(rawValue(key.second)));
    }
    std::sort(order.begin(), order.end());
    RC_ASSERT(list.rules().size() == order.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        RC_ASSERT(list.rules()[i].id() == order[i].second);
    }
}

RC_GTEST_PROP(TrustList, DoesWhatTwoDecisionsPerAppAndDeviceSay, ()) {
    TrustList list;
    Model model;
    int written = 0;
    const auto apps = someApps();
    const int count = *rc::gen::inRange(1, 40);
    for (int i = 0; i < count; ++i) {
        const auto user = *rc::gen::elementOf(apps);
        const auto devices =
            *rc::gen::resize(8, rc::gen::container<std::vector<Device>>(samples::device()));
        const bool flag = *rc::gen::arbitrary<bool>();
        const int operation = *rc::gen::inRange(0, 3);
        const auto kind = trustKindOf(flag, *rc::gen::arbitrary<bool>());
        if (operation == 0) {
            list.setTrusted(flag, user, devices);
        } else if (operation == 1) {
            list.setAlwaysWarn(flag, user, devices);
        } else {
            list.set(kind, user, devices);
        }
        for (const auto device : devices) {
            auto decisions = decisionsIn(model, user, device);
            if (operation == 0) {
                decisions.trusted = flag;
            } else if (operation == 1) {
                decisions.alwaysWarn = flag;
            } else {
                decisions.trusted = kind && *kind != TrustKind::alwaysWarn;
                decisions.alwaysWarn = kind && *kind != TrustKind::trusted;
            }
            write(model, user, device, decisions, ++written);
        }
        compare(list, model);
        RC_ASSERT(decode<TrustList>(encode(list)) == list);
    }
}

RC_GTEST_PROP(TrustList, ListsEveryRuleOfADecisionOnceAndSorted, ()) {
    TrustList list;
    for (const auto& user :
         *rc::gen::resize(20, rc::gen::container<std::vector<AppIdentity>>(samples::identity()))) {
        list.set(*rc::gen::element(TrustKind::trusted, TrustKind::alwaysWarn,
                                   TrustKind::trustedAlwaysWarn),
                 user,
                 *rc::gen::resize(8, rc::gen::container<std::vector<Device>>(samples::device())));
    }
    for (const auto kind :
         {TrustKind::trusted, TrustKind::alwaysWarn, TrustKind::trustedAlwaysWarn}) {
        std::size_t listed = 0;
        for (const auto& entry : list.entries(kind)) {
            RC_ASSERT(std::is_sorted(entry.devices.begin(), entry.devices.end()));
            listed += entry.devices.size();
            for (const auto device : entry.devices) {
                RC_ASSERT(std::any_of(
                    list.rules().begin(), list.rules().end(), [&](const TrustRule& rule) {
                        return rule.app.id == entry.app.id && rule.device == device;
                    }));
            }
        }
        const auto wanted =
            std::count_if(list.rules().begin(), list.rules().end(), [&](const TrustRule& rule) {
                return rule.kind == kind || (rule.kind == TrustKind::trustedAlwaysWarn);
            });
        RC_ASSERT(listed == static_cast<std::size_t>(wanted));
    }
}

} // namespace
} // namespace velmoran
