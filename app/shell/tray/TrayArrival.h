// Waits for a tray, as a program has to that may be started before the desktop's own bar. Qt
// decides between the two kinds of tray when its first tray icon is made, for good, and takes the
// new kind (StatusNotifierItem) only if its watcher says at that moment that a bar shows such
// items. Owned by the status item; main thread.
#pragma once

#include <QObject>
#include <functional>

namespace velmoran {

class TrayArrival final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        there,
        noneInTime,
        silent, ///< somebody says that he is the tray and doesn't answer; `there` may still follow
    };

    /// How long a desktop that is only just starting may take to bring up its tray.
    static constexpr int patienceMilliseconds = 5000;

    /// Calls `arrived` once but for that: at once if a tray of the old kind is there, which costs
    /// no wait at all; else as soon as one of the new kind answers; at the latest when the patience
    /// ends.
    explicit TrayArrival(std::function<void(Outcome)> arrived);

private Q_SLOTS:
    /// Asks the watcher, without waiting for its answer, whether a bar shows items.
    void ask();

private:
    void end(Outcome outcome);

    std::function<void(Outcome)> arrived_;
    int unanswered_ = 0; ///< questions
};

} // namespace velmoran
