#include "KeyboardWalk.h"

#include "app/screens/ItemList.h"
#include "support/Waiting.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAccessible>
#include <QApplication>
#include <QButtonGroup>
#include <QKeyEvent>
#include <algorithm>
#include <tuple>
#include <utility>

namespace velmoran::testing {

namespace {

constexpr int mostStops = 300;
constexpr int around = 8; ///< of a control, where its ring may be

/// One of several, of which the arrow keys choose another.
bool isInGroup(const QWidget& widget) {
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    return button && button->group() && button->isCheckable();
}

std::string textOf(const QRect& place) {
    return std::to_string(place.x()) + ',' + std::to_string(place.y()) + ' ' +
           std::to_string(place.width()) + 'x' + std::to_string(place.height());
}

/// What of one widget stands beside another: what it scrolls in, if the other isn't in there.
const QWidget* seenFor(const QWidget* widget, const QWidget* other) {
    const auto* seen = widget;
    for (const auto* each = widget->parentWidget(); each; each = each->parentWidget()) {
        if (qobject_cast<const QAbstractScrollArea*>(each) && !each->isAncestorOf(other)) {
            seen = each;
        }
    }
    return seen;
}

/// Whether nobody reads `one` after `other`: below each other, side by side, or column by column.
bool isBefore(const QRect& one, const QRect& other) {
    const int common = std::min(one.bottom(), other.bottom()) - std::max(one.top(), other.top());
    if (2 * common > std::min(one.height(), other.height())) {
        return one.right() < other.left();
    }
    return one.center().y() < other.center().y() && one.left() <= other.right();
}

} // namespace

KeyboardWalk::KeyboardWalk(QWidget& window, const std::vector<const QWidget*>& controls)
    : window_(window) {
    if (!window_.isActiveWindow()) {
        faults_.emplace_back("the window doesn't have the keyboard");
        return;
    }
    for (const auto* each : window_.findChildren<QWidget*>()) {
        places_[each] = placeOf(*each);
    }
    walk();
    lookFor(controls);
    lookAtOrder();
    walkBack();
}

KeyboardWalk::Stop KeyboardWalk::now() const {
    auto* widget = window_.focusWidget();
    const auto* list = dynamic_cast<ItemList*>(widget);
    return {.widget = widget, .isPart = list && list->isOnPart()};
}

bool KeyboardWalk::press(int key, Qt::KeyboardModifiers modifiers) {
    auto* to = window_.focusWidget() ? window_.focusWidget() : &window_;
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(to, &event);
    }
    QApplication::processEvents();
    return window_.focusWidget();
}

void KeyboardWalk::walk() {
    // From wherever it begins, until it comes by there again.
    while (press(Qt::Key_Tab) && static_cast<int>(stops_.size()) < mostStops) {
        const auto stop = now();
        if (std::ranges::find(stops_, stop) != stops_.end()) {
            if (stop != stops_.front()) {
                fault(stop, "comes again before all others have");
            }
            break;
        }
        stops_.push_back(stop);
        lookAtFocus(stop);
    }
    if (stops_.empty()) {
        faults_.emplace_back("nothing is reached");
        return;
    }
    // From the top on: where the way makes its farthest leap back.
    const auto leapTo = [this](const Stop& stop) {
        const auto at = static_cast<std::size_t>(&stop - stops_.data());
        const auto& last = stops_[(at + stops_.size() - 1) % stops_.size()];
        const auto leap = places_[last.widget].center() - places_[stop.widget].center();
        return std::tuple(isBefore(places_[stop.widget], places_[last.widget]), leap.y(), leap.x());
    };
    const auto first = std::ranges::max_element(stops_, {}, leapTo);
    std::ranges::rotate(stops_, first);
}

/// The same way back, all around.
void KeyboardWalk::walkBack() {
    if (stops_.empty()) {
        return;
    }
    const auto place = std::ranges::find(stops_, now());
    if (place == stops_.end()) {
        fault(now(), "is no place where the way was");
        return;
    }
    auto at = static_cast<std::size_t>(place - stops_.begin());
    for (std::size_t count = 0; count < stops_.size(); ++count) {
        at = (at + stops_.size() - 1) % stops_.size();
        press(Qt::Key_Tab, Qt::ShiftModifier);
        if (now() != stops_[at]) {
            fault(now(), "comes on the way back in place of " + nameOf(stops_[at]));
            return;
        }
    }
}

void KeyboardWalk::lookFor(const std::vector<const QWidget*>& controls) {
    for (const auto* each : controls) {
        const bool isReached = std::ranges::any_of(stops_, [&](const Stop& stop) {
            const auto* group = isInGroup(*each) && stop.widget && isInGroup(*stop.widget)
                                    ? qobject_cast<QAbstractButton*>(stop.widget)->group()
                                    : nullptr;
            return stop.widget == each ||
                   (group && qobject_cast<const QAbstractButton*>(each)->group() == group);
        });
        if (!isReached && each->isEnabled() && each->isVisible()) {
            fault({.widget = const_cast<QWidget*>(each)}, "isn't reached");
        }
    }
}

void KeyboardWalk::lookAtOrder() {
    for (std::size_t at = 1; at < stops_.size(); ++at) {
        const auto& place = places_[seenFor(stops_[at].widget, stops_[at - 1].widget)];
        const auto& last = places_[seenFor(stops_[at - 1].widget, stops_[at].widget)];
        if (stops_[at].widget != stops_[at - 1].widget && isBefore(place, last)) {
            fault(stops_[at], "comes after " + nameOf(stops_[at - 1]) +
                                  ", which stands behind it: " + textOf(place) + " and " +
                                  textOf(last));
        }
    }
}

/// Something at the control changes when the keyboard leaves it, and nothing else has moved.
void KeyboardWalk::lookAtFocus(const Stop& stop) {
    const auto place = placeOf(*stop.widget).adjusted(-around, -around, around, around);
    if (!window_.rect().intersects(placeOf(*stop.widget))) {
        fault(stop, "is out of sight");
        return;
    }
    const auto with = stillPicture(place);
    if (stop.isPart) {
        press(Qt::Key_Tab, Qt::ShiftModifier);
        if (stillPicture(place) == with) {
            fault(stop, "doesn't show that it has the keyboard");
        }
        press(Qt::Key_Tab);
        return;
    }
    stop.widget->clearFocus();
    const auto without = stillPicture(place);
    stop.widget->setFocus(Qt::TabFocusReason);
    if (with == without) {
        fault(stop, "doesn't show that it has the keyboard");
    }
    if (now() != stop || stillPicture(place) != with) {
        fault(stop, "looks otherwise when the keyboard comes back");
    }
}

/// Once nothing moves in it any more.
QImage KeyboardWalk::stillPicture(const QRect& of) {
    QImage picture;
    const bool isStill = support::waitUntil([&] {
        QApplication::processEvents();
        auto next = window_.grab(of & window_.rect()).toImage();
        return std::exchange(picture, std::move(next)) == picture;
    });
    if (!isStill) {
        faults_.emplace_back("something goes on moving");
    }
    return picture;
}

QRect KeyboardWalk::placeOf(const QWidget& widget) const {
    return {widget.mapTo(&window_, QPoint(0, 0)), widget.size()};
}

std::string KeyboardWalk::nameOf(const Stop& stop) {
    auto* item = stop.widget ? QAccessible::queryAccessibleInterface(stop.widget) : nullptr;
    if (!item) {
        return "nothing";
    }
    // Of a list that unfolds, the name is the value.
    const auto kind =
        item->role() == QAccessible::ComboBox ? QAccessible::Description : QAccessible::Name;
    return item->text(kind).toStdString() + (stop.isPart ? " (explained)" : "");
}

std::vector<std::string> KeyboardWalk::names() const {
    std::vector<std::string> result;
    for (const auto& stop : stops_) {
        result.push_back(nameOf(stop));
    }
    return result;
}

void KeyboardWalk::fault(const Stop& stop, const std::string& what) {
    faults_.push_back('"' + nameOf(stop) + "\" " + what);
}

} // namespace velmoran::testing
