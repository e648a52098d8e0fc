// One app that is using a device right now, with how long it has been: a line of a StatusRow that
// can be pressed. Owned by its row; main thread.
#pragma once

#include "app/contents/StatusContent.h"
#include "app/controls/Buttons.h"

namespace velmoran {

class UseLine final : public RowButton {
public:
    UseLine(const AppPicture& picture, const AppIdentity& app, QWidget* parent);
    void present(const StatusContent::Use& use);

    static constexpr int inset = 6; ///< from its edge to what stands in it

private:
    AppImage* image_;
    LineLabel* name_;
    LineLabel* duration_;
    StatusContent::Use shown_;
};

} // namespace velmoran
