// The display goes while the program runs: a compositor or an X server has died. Qt ends the
// process then, whatever it is doing, and says so just before: that is where somebody else can take
// over. Used by `main` alone.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace velmoran {

/// Whether Qt says with these words that its connection to the display is no more.
bool tellsOfDisplayLoss(std::string_view words);

/// `act` is called at that moment, on any thread, and may put another program into this process.
/// Once at most.
void onDisplayLoss(std::function<void()> act);

/// Whether the display went because the person has logged out: the session bus is gone, or the
/// login manager says that the session of this process ends. Nobody is left then to be told.
bool isLoginOver(const std::string& sessionBus);

} // namespace velmoran
