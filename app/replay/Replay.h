// Plays a recording on a virtual clock: hours in a moment, and the same answer every time. The
// process-wide words become those of the recording. One thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/replay/ReplayAction.h"
#include "app/replay/ReplayStage.h"
#include "app/telling/ModelRecorder.h"
#include "app/telling/ReplayWriter.h"
#include "core/text/Localizer.h"
#include "system/scripted/ScriptedTime.h"

#include <functional>
#include <istream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace velmoran {

/// The translations for a locale and a platform, the later ones over the earlier ones.
using Translations = std::function<std::vector<Catalogue>(const std::string& locale, Platform)>;

class Replay {
public:
    using Sink = std::function<void(const std::string& line)>;

    Replay(const ReplayBeginning& beginning, Sink sink, const Translations& translations = {});
    ~Replay();

    /// Lets the time pass up to the action's and then does it. The first one starts the program, if
    /// it isn't a launch itself. Throws ReplayStop.
    void perform(const ReplayAction& action);

private:
    void launch();
    void leave();

    ScriptedTime time_;
    ReplayStage stage_;
    ReplayWriter writer_;
    bool begun_ = false;
    std::unique_ptr<AppModel> model_; ///< while the program runs
    std::unique_ptr<ModelRecorder> recorder_;
    Subscription shortcut_;
};

/// Plays a whole recording. What is wrong goes to `errors` as "NAME:LINE: what is wrong". Gives the
/// exit status: 0 at the end, 2 for a line that can't be read, 3 for a card or button that isn't
/// there.
int runReplay(std::istream& input, const std::string& name, const Replay::Sink& sink,
              std::ostream& errors, const Translations& translations = {});

} // namespace velmoran
