// The lines of a list, each standing for something that has an identity: a line that stays is the
// same widget, so that it keeps the focus and what the mouse is about to press. Owned by the view
// whose layout it fills; main thread.
#pragma once

#include "core/base/Uuid.h"

#include <QBoxLayout>
#include <QWidget>
#include <algorithm>
#include <vector>

namespace velmoran {

template <class Line>
class KeyedLines {
public:
    /// The layout holds these lines alone, from its beginning on.
    explicit KeyedLines(QBoxLayout& layout) : layout_(layout) {}

    /// `keyOf` gives an item's identity, `make` a new line for it, `show` fills a line. True if
    /// lines came, went or moved.
    template <class Items, class KeyOf, class Make, class Show>
    bool update(const Items& items, KeyOf keyOf, Make make, Show show) {
        bool isOther = lines_.size() != items.size();
        std::vector<Keyed> next;
        next.reserve(items.size());
        for (const auto& item : items) {
            const Uuid key = keyOf(item);
            const auto known = std::ranges::find(lines_, key, &Keyed::key);
            Line* line = known == lines_.end() ? make(item) : known->line;
            const auto place = static_cast<int>(next.size());
            if (layout_.indexOf(line) != place) {
                layout_.removeWidget(line);
                layout_.insertWidget(place, line);
                isOther = true;
            }
            show(*line, item);
            next.push_back({key, line});
        }
        for (const auto& old : lines_) {
            if (std::ranges::find(next, old.line, &Keyed::line) == next.end()) {
                layout_.removeWidget(old.line);
                old.line->hide();
                old.line->deleteLater(); // it may be the one whose press has brought this
            }
        }
        lines_ = std::move(next);
        return isOther;
    }

    std::vector<QWidget*> widgets() const {
        std::vector<QWidget*> all;
        for (const auto& each : lines_) {
            all.push_back(each.line);
        }
        return all;
    }

private:
    struct Keyed {
        Uuid key;
        Line* line;
    };

    QBoxLayout& layout_;
    std::vector<Keyed> lines_;
};

} // namespace velmoran
