// Whether something happens again and again: so many times within so long. A plain value; its
// owner's thread.
#pragma once

#include "core/base/Timestamp.h"

#include <cstddef>
#include <deque>

namespace velmoran {

class Recurrence {
public:
    /// `times` is at least one.
    Recurrence(std::size_t times, Seconds span) : times_(times), span_(span) {}

    /// It has happened at that time. True if it has happened so often within the span, this time
    /// included; what is older than the span is forgotten.
    bool add(Timestamp now) {
        moments_.push_back(now);
        while (moments_.size() > times_ || now - moments_.front() >= span_) {
            moments_.pop_front();
        }
        return moments_.size() == times_;
    }
    /// It counts anew.
    void clear() { moments_.clear(); }

private:
    std::size_t times_;
    Seconds span_;
    std::deque<Timestamp> moments_;
};

} // namespace velmoran
