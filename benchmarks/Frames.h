// How long a window takes, as a person would time it: by the clock, up to what is painted. The main
// thread.
#pragma once

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <chrono>
#include <functional>

namespace velmoran {

inline double milliseconds(const std::function<void()>& work) {
    const auto from = std::chrono::steady_clock::now();
    work();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - from;
    return taken.count();
}

/// Waits until a widget, which outlives this, has been painted since this was made.
class Painted final : public QObject {
public:
    explicit Painted(QWidget* widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        isDone_ = isDone_ || event->type() == QEvent::Paint;
        return false;
    }
    void wait() const {
        while (!isDone_) {
            QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }

private:
    bool isDone_ = false;
};

} // namespace velmoran
