#include "core/sessions/SystemProcess.h"

#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran {

const std::vector<SystemProcess>& SystemProcess::macOS() {
    static const std::vector<SystemProcess> table = {
        {"com.apple.systemsoundserverd", Role::playsSounds,
         words().text("Plays the Mac's alert and system sounds.")},
        {"com.apple.afplay", Role::playsSounds,
         words().text(
             "Apple's small sound player. Other apps and scripts start it to play a sound.")},
        {"com.apple.avconferenced", Role::worksForOtherApps,
         words().text("Runs the sound and video of FaceTime calls. It stops when the call ends.")},
        {"com.apple.replayd", Role::worksForOtherApps,
         words().text("Records the screen, with microphone, on behalf of another app.")},
        {"com.apple.corespeechd", Role::listensForSystem,
         words().text("Listens for “Hey Siri” and voice commands, and runs dictation. It often "
                      "turns the microphone on for a second or two.")},
        {"com.apple.historicalaudiod", Role::listensForSystem,
         words().text("A part of the Mac's sound system that works with Siri's listening. Apple "
                      "does not document more about it.")},
    };
    return table;
}

std::optional<SystemProcess> SystemProcess::known(std::string_view signingID) {
    const auto found = known(signingID, macOS());
    return found ? found : known(signingID, onLinux());
}

std::optional<SystemProcess> SystemProcess::known(std::string_view signingID,
                                                  const std::vector<SystemProcess>& table) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const SystemProcess& process) {
        return process.signingID == signingID;
    });
    return found == table.end() ? std::nullopt : std::optional(*found);
}

} // namespace velmoran
