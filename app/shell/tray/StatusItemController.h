// The icon in the tray, with its menu, the panel that hangs at it and the cards below it. Owned by
// the application delegate; lives as long as the program; main thread.
#pragma once

#include "app/model/AppModel.h"
#include "app/shell/cards/NoticePanelController.h"
#include "app/shell/tray/PanelPopover.h"
#include "app/shell/tray/TrayArrival.h"

#include <QMenu>
#include <QPoint>
#include <QSystemTrayIcon>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

class StatusItemController final : public QObject {
public:
    struct Actions {
        std::function<void()> stopEverything = [] {
        };
        std::function<void()> showMain = [] {
        };
        std::function<void()> showHistory = [] {
        };
        std::function<void()> showSettings = [] {
        };
        std::function<void()> quit = [] {
        };
        /// The panel's content, which may have the panel closed; null if there is none yet.
        std::function<std::unique_ptr<QWidget>(const std::function<void()>& leave)> makePanel =
            [](const auto&) {
                return nullptr;
            };
    };

    /// The model and the overlays outlive the controller. Without overlays there are no cards of
    /// our own. `desktop` is what the desktop calls itself, as XDG_CURRENT_DESKTOP.
    StatusItemController(AppModel& model, AppPicture picture, Actions actions,
                         Overlays* overlays = &placedOverlays(), std::string desktop = {});

    /// A click on the icon: shows the panel, or takes it away.
    void togglePanel();

    /// Docks into the tray as soon as one is there. Qt asks the session bus about it and waits, so
    /// whoever watches begins before.
    void awaitTray();

    /// Called whenever the panel has gone.
    std::function<void()> onPanelClosed;
    /// Called when the icon is in no tray, since that has gone and one of the other kind has come:
    /// Qt goes to that one only in a program that is started anew.
    std::function<void()> onStranded;
    /// Called when that is over.
    std::function<void()> onReached;

    /// How long a bar that is only started again may be away.
    static constexpr int trayPatienceMilliseconds = 2000;

    /// There must be overlays.
    NoticePanelController& noticePanel() { return *noticePanel_; }
    /// From now on others show the notices.
    void dropCards() { noticePanel_.reset(); }
    /// Null before it was shown once.
    PanelPopover* panel() const { return panel_.get(); }
    /// Puts the icon into the tray now, if that wasn't done yet.
    void dock();
    /// Null before it is docked.
    const QSystemTrayIcon* item() const { return item_.get(); }
    /// Puts what hangs at the icon where it belongs on the screens as they are now.
    void layOut();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void makeMenu();
    void refreshMenu();
    void refreshIcon();
    void refreshToolTip();
    std::optional<QRect> place() const;
    void noteClick();
    void redrawCards();
    bool isStranded() const;
    static bool isNotifierItem();

    AppModel& model_;
    Actions actions_;
    std::string desktop_;
    QMenu menu_;
    QAction* stop_ = nullptr;
    QAction* unmute_ = nullptr;             ///< there while a stop's mute is in force
    QAction* newest_ = nullptr;             ///< there while a card is
    std::unique_ptr<QSystemTrayIcon> item_; ///< its making is what binds Qt to a kind of tray
    std::optional<QPoint> click_;           ///< the last one, if it can have been on the icon
    std::optional<StatusIconState> shown_;
    std::vector<Device> shownUnwatched_; ///< in the tool tip
    std::vector<AppIdentity> listeners_; ///< likewise: the system's own
    const bool hasOverlays_; ///< else a panel could stand anywhere, so there is a window instead
    Overlays& overlays_;
    std::unique_ptr<NoticePanelController> noticePanel_; ///< null: no cards of our own
    std::unique_ptr<PanelPopover> panel_;
    std::vector<Subscription> watching_;
    std::unique_ptr<TrayArrival> arrival_;
    QTimer stranded_;
    /// It was in a tray once. Behind some watchers Qt finds none, and wouldn't anew either.
    bool wasReached_ = false;
};

} // namespace velmoran
