// One card: the app's picture, what happened, when, and what can be done about it. Made anew for
// each change of the cards; main thread.
#pragma once

#include "app/notices/NoticeItem.h"

#include <QIcon>
#include <QWidget>
#include <functional>

namespace velmoran {

/// The picture of the app at a path; null for none.
using AppPicture = std::function<QIcon(const std::string& path)>;

class NoticeView final : public QWidget {
public:
    struct Clicks {
        std::function<void(const Uuid& item, const Uuid& button)> press;
        std::function<void(const Uuid& item)> close;
    };

    NoticeView(const NoticeItem& item, const AppPicture& picture, Clicks clicks,
               QWidget* parent = nullptr);

    static constexpr int cornerRadius = 12;
    /// Where there is no compositor the corners are cut by a mask, and the card fills its whole
    /// rectangle.
    void setCornersAreCut(bool cut) { cornersAreCut_ = cut; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool cornersAreCut_ = false;
};

} // namespace velmoran
