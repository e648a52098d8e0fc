#include "app/model/OutputGuard.h"

#include "app/notices/NoticeWording.h"
#include "core/stopping/SpeakerGuard.h"

namespace velmoran {

void OutputGuard::compare(const SystemSnapshot& before, const SystemSnapshot& now) {
    const auto previous = outputRoute(before.output);
    const auto current = outputRoute(now.output);
    if (!previous || !current || (previous->id == current->id && previous->kind == current->kind)) {
        return;
    }
    if (SpeakerGuard::shouldMute(previous, current, seams_.outputs.exists(previous->id),
                                 *seams_.settings.speakerAutoMute)) {
        show(current->id, seams_.outputs.setMuted(true, current->id));
    }
}

void OutputGuard::show(std::uint32_t outputID, bool muted) {
    const auto id = Uuid::random();
    if (!muted) {
        seams_.notices.show(speakersNotMutedItem(id));
        return;
    }
    const auto playing = seams_.engine.open(Device::speaker);
    const auto player = playing.empty() ? std::nullopt : std::optional(playing.front().app.name);
    seams_.notices.show(speakersMutedItem(id, player, mainThread_.whileAlive([this, id, outputID] {
        seams_.outputs.setMuted(false, outputID);
        seams_.notices.dismiss(id);
    })));
}

} // namespace velmoran
