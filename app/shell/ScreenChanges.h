// Tells when what stands on the screens has to be laid out anew: a screen came or went, or another
// one is the main one, or one has changed its size, its scale or what bars take of it. Owned by
// the application delegate; main thread.
#pragma once

#include <QObject>
#include <QTimer>
#include <functional>

class QScreen;

namespace velmoran {

class ScreenChanges final : public QObject {
public:
    /// Calls that later, when all of a change has been heard of.
    explicit ScreenChanges(std::function<void()> changed);

    /// Something else has told it.
    void note() { later_.start(); }

private:
    void watch(const QScreen* screen);

    QTimer later_;
};

} // namespace velmoran
