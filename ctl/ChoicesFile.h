// The user's settings file, for when no Velmoran runs. Main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "app/qtbase/QtSettingsFile.h"
#include "core/trust/TrustList.h"

#include <functional>

namespace velmoran {

class ChoicesFile {
    QtSettingsFile file_;

public:
    SettingsStore settings{file_};

    /// Throws DecodingError if what stands there is no list.
    TrustList trust() const;

    /// Does something to the settings that is written. True if it stands in the file then: `holds`
    /// is asked of what is read from it anew.
    bool write(const std::function<void(SettingsStore&)>& change,
               const std::function<bool(const SettingsStore&)>& holds);
};

} // namespace velmoran
