// One card: the app's picture, what happened, when, and what can be done about it. Made anew for
// each change of the cards; main thread.
#pragma once

#include "app/look/AppPicture.h"
#include "app/look/CardColors.h"
#include "app/notices/NoticeItem.h"

#include <QPixmap>
#include <QWidget>
#include <functional>

namespace velmoran {

class NoticeView final : public QWidget {
public:
    using Press = std::function<void(const Uuid& item, const Uuid& button)>;
    struct Clicks {
        Press press;
        std::function<void(const Uuid& item)> close;
    };

    /// Has its final size at once.
    NoticeView(const NoticeItem& item, const AppPicture& picture, const Clicks& clicks,
               QWidget* parent = nullptr);

    static constexpr int cardWidth = 344;
    static constexpr int cornerRadius = 12;
    /// Where there is no compositor the corners are cut by a mask, and the card fills its whole
    /// rectangle.
    void setCornersAreCut(bool cut) { cornersAreCut_ = cut; }
    /// What it says, as one text.
    QString text() const;
    /// Has it read aloud by whoever reads the screen aloud.
    void announce();
    /// Puts the keyboard on its first button.
    void takeFocus();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// Gives the lower edge of the last row.
    int addButtons(const NoticeItem& item, const Press& press, int left, int top);

    CardColors colors_;
    QPixmap picture_;
    bool cornersAreCut_ = false;
};

} // namespace velmoran
