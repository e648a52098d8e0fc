// The part of the settings that says which version this is, and looks for a newer one when it is
// told to. What it has found is gone with it. Owned by the settings; main thread.
#pragma once

#include "app/contents/UpdateContent.h"
#include "app/controls/KeptFocus.h"
#include "app/web/UpdateCheck.h"

#include <QWidget>
#include <functional>
#include <optional>
#include <string>

namespace velmoran {

class TextLabel;

class UpdateSection final : public QWidget {
public:
    /// Without facts there is nobody to ask, and the button says so by being disabled.
    UpdateSection(const std::string& running, std::optional<UpdateCheck::Facts> facts,
                  std::function<void()> openDownloads, QWidget* parent);

private:
    void check();
    void present(const UpdateCheck::Result& result);

    std::optional<UpdateCheck> update_;
    TextLabel* status_;
    TextLabel* advice_;
    FaceButton* check_;
    std::optional<KeptFocus> checkFocus_;
    FaceButton* download_;
};

} // namespace velmoran
