// One line of recent activity, which opens its details when it is pressed. Part of
// RecentActivityView; main thread.
#pragma once

#include "app/contents/RecentLine.h"
#include "app/controls/Buttons.h"

#include <optional>
#include <vector>

namespace velmoran {

/// The widths in points that all lines of the list share, so that their columns stand exactly under
/// one another.
struct RecentColumns {
    int devices = 0;
    int time = 0;
    int duration = 0;
    bool hasStop = false; ///< one of the lines has the symbol of a stop

    static RecentColumns of(const std::vector<RecentLine>& lines, const QFont& body);

    bool operator==(const RecentColumns&) const = default;
};

class RecentRow final : public RowButton {
public:
    RecentRow(const AppPicture& picture, const AppIdentity& app, QWidget* parent);
    void present(const RecentLine& line, const RecentColumns& columns);

    static constexpr TextStyle digits = TextStyle::captionTabular;

private:
    void showDevices(const std::vector<Device>& devices);

    AppImage* image_;
    LineLabel* name_;
    QWidget* devices_;
    QWidget* stopColumn_;
    SymbolLabel* stop_;
    LineLabel* time_;
    LineLabel* duration_;
    std::optional<RecentLine> shown_;
    RecentColumns columns_;
};

} // namespace velmoran
