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
    // Whoever takes the sight may set the clock back, too.
    const auto now = seams_.clock.elapsing();
    if (!last_ || now - *last_ >= shortestPause) {
        last_ = now;
        // Another loss is told even while the time stands.
        seams_.lastTaken.set(std::nullopt);
        seams_.lastTaken.set(seams_.clock.now());
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
                .thisWasMe = mainThread_.whileAlive([this, card = card_] {
                    seams_.notices.dismiss(card);
                    recent_.clear(); // it counts anew
                })}));
    if (*seams_.settings.warningSoundOn) {
        seams_.machine.sounds().playWarning();
    }
}

} // namespace velmoran
