#include "app/model/SightGuard.h"

#include "app/notices/NoticeWording.h"

#include <utility>

namespace velmoran {

SightGuard::SightGuard(Seams seams, std::function<void(const Uuid&)> stop)
    : seams_(seams),
      stop_(std::move(stop)),
      mainThread_(seams.scheduler) {}

void SightGuard::start() {
    losses_ = seams_.machine.sight().onTaken(mainThread_.later([this] { note(); }));
}

void SightGuard::note() {
    const auto now = seams_.clock.now();
    if (const auto& last = *seams_.lastTaken; !last || now - *last >= shortestPause) {
        seams_.lastTaken.set(now);
    }
    if (recent_.add(now) && !seams_.notices.item(card_)) {
        recent_.clear();
        warn();
    }
}

void SightGuard::warn() {
    card_ = Uuid::random();
    seams_.notices.show(sightTakenItem(
        card_, {.stop = mainThread_.whileAlive([this, card = card_] { stop_(card); }),
                .thisWasMe = mainThread_.whileAlive(
                    [this, card = card_] { seams_.notices.dismiss(card); })}));
    if (*seams_.settings.warningSoundOn) {
        seams_.machine.sounds().playWarning();
    }
}

} // namespace velmoran
