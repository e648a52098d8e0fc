#include "app/screens/LinePlaces.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace velmoran {

LinePlaces::LinePlaces(int count, std::vector<int> headings, int lineHeight)
    : count_(count),
      lineHeight_(lineHeight),
      headings_(std::move(headings)) {}

LinePlaces::LinePlaces(const std::vector<int>& heights, std::vector<int> headings, int lineHeight)
    : count_(static_cast<int>(heights.size())),
      lineHeight_(lineHeight),
      tops_(heights.size() + 1),
      headings_(std::move(headings)) {
    std::partial_sum(heights.begin(), heights.end(), tops_.begin() + 1);
}

bool LinePlaces::isHeading(int index) const {
    return std::binary_search(headings_.begin(), headings_.end(), index);
}

int LinePlaces::headingsBefore(int index) const {
    return static_cast<int>(std::lower_bound(headings_.begin(), headings_.end(), index) -
                            headings_.begin());
}

int LinePlaces::topOf(int index) const {
    return tops_.empty()
               ? index * lineHeight_ + headingsBefore(index) * (headingHeight - lineHeight_)
               : tops_[static_cast<std::size_t>(index)];
}

int LinePlaces::lineAt(int y) const {
    int low = 0;
    int high = count_ - 1;
    while (low < high) {
        const int middle = low + (high - low + 1) / 2;
        if (topOf(middle) <= y) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    return low;
}

std::optional<int> LinePlaces::nearestLine(int index, int direction) const {
    for (int at = index; at >= 0 && at < count_; at += direction) {
        if (!isHeading(at)) {
            return at;
        }
    }
    return std::nullopt;
}

} // namespace velmoran
