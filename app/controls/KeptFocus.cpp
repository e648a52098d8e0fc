#include "app/controls/KeptFocus.h"

namespace velmoran {

KeptFocus::KeptFocus(Button& button, QWidget& place) : button_(button), place_(place) {
    place_.setFocusPolicy(Qt::ClickFocus);
}

void KeptFocus::setEnabled(bool enabled) {
    if (enabled == button_.isEnabled()) {
        return;
    }
    if (!enabled) {
        isKept_ = take();
        button_.setEnabled(false);
        return;
    }
    button_.setEnabled(true);
    if (isKept_ && place_.window()->focusWidget() == &place_) {
        button_.setFocus(wasShown_ ? Qt::TabFocusReason : Qt::OtherFocusReason);
    }
    isKept_ = false;
}

void KeptFocus::setVisible(bool visible) {
    if (!visible) {
        take();
    }
    button_.setVisible(visible);
}

bool KeptFocus::take() {
    if (button_.window()->focusWidget() != &button_) {
        return false;
    }
    wasShown_ = button_.showsFocus();
    place_.setFocus();
    return true;
}

} // namespace velmoran
