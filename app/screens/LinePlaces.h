// Where the lines of a list stand, one under the other, with headings among them. A plain value;
// any thread.
#pragma once

#include <optional>
#include <vector>

namespace velmoran {

class LinePlaces {
public:
    LinePlaces() = default;
    /// `headings` are ascending indexes.
    LinePlaces(int count, std::vector<int> headings, int lineHeight);
    /// The same for lines of these heights, headings too.
    LinePlaces(const std::vector<int>& heights, std::vector<int> headings, int lineHeight);

    int count() const { return count_; }
    bool isHeading(int index) const;
    int lineHeight() const { return lineHeight_; }
    void setLineHeight(int height) { lineHeight_ = height; }
    /// Of `count` it is the end.
    int topOf(int index) const;
    int height() const { return topOf(count_); }
    /// The line that a height belongs to, held to what there is.
    int lineAt(int y) const;
    /// From there on in that direction, 1 or -1, the first that is no heading.
    std::optional<int> nearestLine(int index, int direction) const;

private:
    static constexpr int headingHeight = 36;

    int headingsBefore(int index) const;

    int count_ = 0;
    int lineHeight_ = 28;
    std::vector<int> tops_; ///< empty while all lines have one height
    std::vector<int> headings_;
};

} // namespace velmoran
