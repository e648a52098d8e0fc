// A setting or a decision of the user's that another program has had changed, as it is told on the
// bus and in a terminal. A plain value.
#pragma once

#include "core/base/Fields.h"
#include "core/records/Device.h"

#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// A setting's name, and what it is now.
struct ChangedSetting {
    std::string name;
    std::string value;
};

/// Trust that was taken back: the app's id, and with what it was trusted.
struct LostTrust {
    std::string app;
    std::vector<Device> devices;
};

struct OutsideChange {
    std::optional<ChangedSetting> setting = {}; ///< one of these two
    std::optional<LostTrust> distrust = {};     ///< is there
    std::string sentence = {};                  ///< in the user's language
};

void visitFields(MaybeConst<ChangedSetting> auto& setting, auto visit) {
    visit("name", setting.name);
    visit("value", setting.value);
}

void visitFields(MaybeConst<LostTrust> auto& trust, auto visit) {
    visit("app", trust.app);
    visit("devices", trust.devices);
}

void visitFields(MaybeConst<OutsideChange> auto& change, auto visit) {
    visit("setting", change.setting);
    visit("distrust", change.distrust);
    visit("sentence", change.sentence);
}

} // namespace velmoran
