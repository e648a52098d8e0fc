// A window as the Tab key walks it, once around and back, and all that a person without a mouse
// would miss.
#pragma once

#include <QImage>
#include <QRect>
#include <QWidget>
#include <map>
#include <string>
#include <vector>

namespace velmoran::testing {

class KeyboardWalk {
public:
    /// Of a window that has the keyboard. Looks at `controls` alone for what must be reached.
    KeyboardWalk(QWidget& window, const std::vector<const QWidget*>& controls);

    /// What is wrong, a sentence each: a control that isn't reached, one that is out of the order
    /// of reading, that doesn't look otherwise with the keyboard, or a way back that is another.
    const std::vector<std::string>& faults() const { return faults_; }
    /// What was reached, in order, from the first one at the top.
    std::vector<std::string> names() const;

private:
    /// A control, or within a list what can be pressed in its chosen line.
    struct Stop {
        QWidget* widget = nullptr;
        bool isPart = false;
        bool operator==(const Stop&) const = default;
    };

    void walk();
    void walkBack();
    void lookAtOrder();
    void lookFor(const std::vector<const QWidget*>& controls);
    void lookAtFocus(const Stop& stop);
    Stop now() const;
    bool press(int key, Qt::KeyboardModifiers modifiers = {});
    QImage stillPicture(const QRect& of);
    QRect placeOf(const QWidget& widget) const;
    static std::string nameOf(const Stop& stop);
    void fault(const Stop& stop, const std::string& what);

    QWidget& window_;
    std::map<const QWidget*, QRect> places_; ///< before anything was scrolled
    std::vector<Stop> stops_;
    std::vector<std::string> faults_;
};

} // namespace velmoran::testing
