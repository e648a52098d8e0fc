// The keyboard's place while the button that has it can't be pressed. Qt would give it to the next
// control, and the second of two quick presses would press that one. Part of the view that holds
// the button; main thread.
#pragma once

#include "app/controls/Buttons.h"

namespace velmoran {

class KeptFocus final {
public:
    /// `place` takes the focus meanwhile. Both outlive this, or go along with it.
    KeptFocus(Button& button, QWidget& place);
    /// Gives the focus back as well, unless the person has gone on.
    void setEnabled(bool enabled);
    /// The focus stays in its place when the button comes again: that is another offer.
    void setVisible(bool visible);

private:
    bool take();

    Button& button_;
    QWidget& place_;
    bool isKept_ = false;
    bool wasShown_ = false; ///< the ring of the focus
};

} // namespace velmoran
