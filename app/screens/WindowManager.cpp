#include "app/screens/WindowManager.h"

#include "app/look/CardText.h"
#include "app/screens/WindowPlacing.h"

#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

/// An app can call itself by as long a name as it likes.
constexpr int longestTitle = 120;

QString asTitle(const QString& text) {
    const auto line = harmlessText(text).simplified();
    return line.size() > longestTitle ? line.left(longestTitle - 1) + QChar(0x2026) : line;
}

} // namespace

ContentWindow& WindowManager::make(std::string_view id) {
    auto& window = windows_[std::string(id)];
    window = std::make_unique<ContentWindow>();
    window->setObjectName(QString::fromUtf8(id.data(), static_cast<qsizetype>(id.size())));
    window->onClose = [this, each = window.get()] {
        // Later, since the window is still at work.
        QTimer::singleShot(0, each, [this, each] {
            if (!each->isVisible()) {
                each->release();
            }
            if (onClosed) {
                onClosed();
            }
        });
    };
    return *window;
}

void WindowManager::show(std::string_view id, const QString& title, bool resizable,
                         std::optional<QSize> size, std::unique_ptr<QWidget> content) {
    auto* known = window(id);
    auto& window = known ? *known : make(id);
    window.setWindowTitle(asTitle(title));
    window.setKind(resizable, size);
    window.setContent(std::move(content));
    if (known) {
        window.fitInPlace();
        window.bringToFront();
        return;
    }
    const auto centre = [&window] {
        if (const auto screens = visibleScreens(); !screens.empty()) {
            window.centre(window.isVisible() ? screenOf(window.frame(), screens) : screens.front());
        }
    };
    centre();
    window.bringToFront();
    // Its true size is known only after the first layout, and its frame when the desktop gave it.
    QTimer::singleShot(0, &window, centre);
}

void WindowManager::close(std::string_view id) {
    if (auto* known = window(id)) {
        known->close();
    }
}

bool WindowManager::bringToFront(std::string_view id) {
    auto* known = window(id);
    if (!known || !known->content()) {
        return false;
    }
    known->bringToFront();
    return true;
}

ContentWindow* WindowManager::window(std::string_view id) const {
    const auto found = windows_.find(id);
    return found == windows_.end() ? nullptr : found->second.get();
}

bool WindowManager::isAnyOpen() const {
    return std::any_of(windows_.begin(), windows_.end(),
                       [](const auto& each) { return each.second->isVisible(); });
}

void WindowManager::layOut() {
    for (const auto& [id, window] : windows_) {
        if (window->isVisible()) {
            window->fitInPlace();
        }
    }
}

} // namespace velmoran
