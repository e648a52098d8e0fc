// The part of the model that mutes the speakers when headphones come off.
#include "app/model/AppModel.h"

#include "app/notices/NoticeWording.h"
#include "core/stopping/SpeakerGuard.h"

#include <utility>

namespace velmoran {

void AppModel::guardSpeakers(const SystemSnapshot& before, const SystemSnapshot& now) {
    const auto previous = outputRoute(before.output);
    const auto current = outputRoute(now.output);
    if (!previous || !current || (previous->id == current->id && previous->kind == current->kind)) {
        return;
    }
    auto& outputs = around_.machine.outputs();
    if (SpeakerGuard::shouldMute(previous, current, outputs.exists(previous->id),
                                 *settings.speakerAutoMute)) {
        tellOfGuard(current->id, outputs.setMuted(true, current->id));
    }
}

void AppModel::tellOfGuard(std::uint32_t outputID, bool muted) {
    const auto id = Uuid::random();
    if (!muted) {
        notices.show(speakersNotMutedItem(id));
        return;
    }
    std::optional<std::string> player;
    for (const auto& session : engine_.open(Device::speaker)) {
        player = session.app.name;
        break;
    }
    notices.show(speakersMutedItem(id, player, mainThread_.whileAlive([this, id, outputID] {
        around_.machine.outputs().setMuted(false, outputID);
        notices.dismiss(id);
    })));
}

} // namespace velmoran
