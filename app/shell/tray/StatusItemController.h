// The icon in the tray, with its menu and the cards below it. Owned by the application delegate;
// lives as long as the program; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/shell/cards/NoticePanelController.h"
#include "app/shell/tray/CurrentUse.h"
#include "app/shell/tray/TrayArrival.h"

#include <QMenu>
#include <QPoint>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmoran {

class StatusItemController final : public QObject {
public:
    struct Actions {
        std::function<void()> stopEverything;
        std::function<void()> quit;
    };

    /// The model outlives the controller.
    StatusItemController(AppModel& model, const Clock& clock, AppPicture picture, Actions actions);

    /// A click on the icon: shows the cards, or takes away the one that tells what is on.
    void togglePanel();
    /// What a second start of the program does: brings the cards to the front, or tells what is on.
    void showCards();
    /// What the menu does: tells what is on, beside the cards that are there.
    void tellCurrentUse();

    /// Docks into the tray as soon as one is there. Qt asks the session bus about it and waits, so
    /// whoever watches begins before.
    void awaitTray();

    NoticePanelController& noticePanel() { return noticePanel_; }
    /// Puts the icon into the tray now, if that wasn't done yet.
    void dock();
    /// Null before it is docked.
    const QSystemTrayIcon* item() const { return item_.get(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeMenu(Actions actions);
    void refreshMenu();
    void refreshIcon();
    void refreshToolTip();
    CurrentUse currentUse() const;
    void keepCurrentUseTrue();
    std::optional<QRect> anchor() const;
    void noteClick();

    AppModel& model_;
    const Clock& clock_;
    QMenu menu_;
    QAction* stop_ = nullptr;
    QAction* unmute_ = nullptr;             ///< there while a stop's mute is in force
    std::unique_ptr<QSystemTrayIcon> item_; ///< its making is what binds Qt to a kind of tray
    std::optional<QPoint> click_;           ///< where the cards that are there were asked for
    std::optional<Uuid> currentUse_;        ///< the card of `tellCurrentUse`
    CurrentUse shownUse_;                   ///< what that card says
    std::optional<StatusIconState> shown_;
    std::vector<Device> shownUnwatched_; ///< in the tool tip
    NoticePanelController noticePanel_;
    std::vector<Subscription> watching_;
    std::unique_ptr<TrayArrival> arrival_;
};

} // namespace velmoran
