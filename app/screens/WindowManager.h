// The program's windows, at most one for each purpose, known by their ids. A window stays where it
// was put, closed or open, but a closed one holds no content. Owned by the screens; main thread.
#pragma once

#include "app/screens/ContentWindow.h"

#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

class WindowManager final : public QObject {
public:
    /// Shows the window of that id with this content, in front of the others and with the keyboard.
    /// One that was there before keeps its place, and a resizable one its size. `size` is the
    /// content's at first, and the smallest that it can be made; without it the window is as large
    /// as its content wants to be. The title is shown as one harmless line.
    void show(std::string_view id, const QString& title, bool resizable, std::optional<QSize> size,
              std::unique_ptr<QWidget> content);
    /// Nothing if there is none of that id, or none that is open.
    void close(std::string_view id);
    /// Brings an open one to the front; whether there was one.
    bool bringToFront(std::string_view id);
    /// Null if it was never shown.
    ContentWindow* window(std::string_view id) const;
    bool isAnyOpen() const;
    /// All windows end, with what stands in them.
    void clear() { windows_.clear(); }
    /// After the screens have changed: open windows are fitted to them, and stay in sight.
    void layOut();

    /// A window was closed.
    std::function<void()> onClosed;

private:
    ContentWindow& make(std::string_view id);

    std::map<std::string, std::unique_ptr<ContentWindow>, std::less<>> windows_;
};

} // namespace velmoran
