// Makes each screen and opens its window: the one place that knows which view stands in which
// window. Owned by the application delegate; main thread.
#pragma once

#include "app/model/LoginItem.h"
#include "app/model/Windows.h"
#include "app/screens/ScreenContext.h"
#include "app/screens/WindowManager.h"

#include <functional>
#include <memory>
#include <optional>

namespace velmoran {

class Screens final : public Windows {
public:
    /// Beyond this window what screens have done is what the actions say; the three that open
    /// windows are filled in here. All that is given lives until `end`. Before this, and
    /// after that, nothing is shown.
    void begin(ScreenContext context, LoginItem& loginItem);
    /// Ends all windows, before what they stand on ends.
    void end();

    void show(std::string_view id) override;
    void close(std::string_view id) override { windows_.close(id); }
    void showAwayReport(const AwayReport& report) override;
    void showDetails(const ActivityRow& row);
    /// The content of the panel under the status item, which goes by `leave` before it opens a
    /// window. Null before `begin`.
    std::unique_ptr<QWidget> makePanel(const std::function<void()>& leave);

    WindowManager& windows() { return windows_; }
    const WindowManager& windows() const { return windows_; }

private:
    std::optional<ScreenContext> context_;
    LoginItem* loginItem_ = nullptr;
    WindowManager windows_;
};

} // namespace velmoran
