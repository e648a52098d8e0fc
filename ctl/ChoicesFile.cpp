#include "ctl/ChoicesFile.h"

namespace velmoran {

TrustList ChoicesFile::trust() const {
    const auto& data = *settings.trustRulesData;
    return data ? decode<TrustList>(*data) : TrustList();
}

bool ChoicesFile::write(const std::function<void(SettingsStore&)>& change,
                        const std::function<bool(const SettingsStore&)>& holds) {
    change(settings);
    QtSettingsFile again;
    const SettingsStore written(again);
    return holds(written);
}

} // namespace velmoran
