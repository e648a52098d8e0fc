// velmoranctl's `settings` and `trust`: through the Velmoran that is running, or else in the
// settings file. Each gives the exit status: 0, 1 if the Velmoran that runs doesn't answer or the
// file can't be read or written, 2 for what can't be asked, 3 if Velmoran put it off, 4 if it is
// done and that couldn't be written.
#pragma once

#include "ctl/Ask.h"

#include <string>

namespace velmoran {

int listSettings(bool json, const AskOptions& asking);
int printSetting(const std::string& name, const AskOptions& asking);
int changeSetting(const std::string& name, const std::string& value, const AskOptions& asking);

int listTrust(bool json, const AskOptions& asking);
/// Takes trust back, with that device or with all if it is empty.
int removeTrust(const std::string& app, const std::string& device, const AskOptions& asking);

} // namespace velmoran
