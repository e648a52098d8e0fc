// One window of the program: a title, and a view that fills it. Content that is larger than the
// window scrolls, which it does only where the screen is too small for it. Owned by the window
// manager; main thread.
#pragma once

#include <QPointer>
#include <QScrollArea>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace velmoran {

class ContentWindow final : public QWidget {
public:
    ContentWindow();

    /// Takes the place of what stood there.
    void setContent(std::unique_ptr<QWidget> content);
    /// Null while the window is closed.
    QWidget* content() const { return content_; }
    /// Resizable with a smallest size of the content, or as large as the content wants to be.
    void setKind(bool resizable, std::optional<QSize> size);
    bool isResizable() const { return isResizable_; }

    /// With what the desktop puts around it; where it was, while it is closed.
    QRect frame() const;
    /// Sets the size, and how small and large it can be made, for that screen. A resizable window
    /// keeps its size if it can.
    void fit(const QRect& visible);
    /// The same, for the screen on which the window stands, and the whole of it stays in sight.
    void fitInPlace();
    /// Makes itself as large as it was meant to be, and puts itself where windows come first.
    void centre(const QRect& visible);
    /// In front of the others, with the keyboard.
    void bringToFront();
    /// Ends what a closed window doesn't need: the content, and what the desktop keeps for it.
    void release();

    /// The person has closed it, or somebody has.
    std::function<void()> onClose;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QSize wantedSize() const;
    QSize around() const;
    void put(const QPoint& place);
    QRect screenToFit() const;
    void noteScreen();
    void adapt();

    QScrollArea* area_;
    QPointer<QWidget> content_;
    bool isResizable_ = false;
    std::optional<QSize> size_;
    double scale_ = 0; ///< in dots for a point, of the screen that it was fitted for
    QSize sizeBefore_; ///< on a screen of that scale
    QPoint place_;     ///< of the frame, when it was last put somewhere or closed
};

/// What bars leave of each screen, that of the main one first.
std::vector<QRect> visibleScreens();

} // namespace velmoran
