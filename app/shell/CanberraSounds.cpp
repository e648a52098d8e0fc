#include "app/shell/CanberraSounds.h"

#include "core/text/Localizer.h"

#include <canberra.h>

namespace velmoran {

CanberraSounds::~CanberraSounds() {
    if (context_) {
        ca_context_destroy(context_);
    }
}

void CanberraSounds::playWarning() {
    if (!context_ && ca_context_create(&context_) != CA_SUCCESS) {
        context_ = nullptr;
        return;
    }
    const auto description = words().text("Velmoran: a warning is waiting");
    // Returns at once; the library's own thread plays.
    ca_context_play(context_, 0, CA_PROP_EVENT_ID, "dialog-warning", CA_PROP_EVENT_DESCRIPTION,
                    description.c_str(), CA_PROP_MEDIA_ROLE, "event", nullptr);
}

} // namespace velmoran
