// Waits for a tray, as a program has to that may be started before the desktop's own bar, and goes
// on watching which there are. Qt decides between the two kinds of tray when its first tray icon is
// made, for good, and takes the new kind (StatusNotifierItem) only if its watcher says at that
// moment that a bar shows such items. Owned by the status item; main thread.
#pragma once

#include "app/shell/surface/X11TrayWatch.h"

#include <QObject>
#include <functional>

namespace velmoran {

class TrayArrival final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        there,
        noneInTime, ///< `there` may still follow
        silent, ///< somebody says that he is the tray and doesn't answer; `there` may still follow
    };

    /// How long a desktop that is only just starting may take to bring up its tray.
    static constexpr int patienceMilliseconds = 5000;

    /// Calls `arrived` with `there` at once if a tray of the old kind is there, which costs no wait
    /// at all; else as soon as one comes; with another outcome when the patience ends, once.
    explicit TrayArrival(std::function<void(Outcome)> arrived);

    /// Whether a bar shows items of the new kind, by its watcher's last word.
    bool hasNotifierHost() const { return hasNotifierHost_; }

    /// Called after one has arrived, whenever a tray comes, goes or says another colour.
    std::function<void()> onChange;

private Q_SLOTS:
    /// Asks the watcher, without waiting for its answer, whether a bar shows items.
    void ask();

private:
    void listenToBus();
    void setNotifierHost(bool isThere);
    void look();
    void arrive();

    std::function<void(Outcome)> arrived_; ///< null once one has
    int unanswered_ = 0;                   ///< questions
    bool hasNotifierHost_ = false;
    X11TrayWatch x11_;
};

} // namespace velmoran
