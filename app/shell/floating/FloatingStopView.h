// What the floating button looks like: a capsule with the stop symbol and, while it is unfolded,
// the words beside it. Takes no mouse itself. Owned by the floating panel; main thread.
#pragma once

#include <QRegion>
#include <QString>
#include <QWidget>

namespace velmoran {

class FloatingStopView final : public QWidget {
public:
    explicit FloatingStopView(QWidget* parent = nullptr);

    struct Content {
        QString label;
        bool expanded = false;
        bool stopping = false;      ///< dimmed, since a press would do nothing now
        bool iconAtRight = false;   ///< the words are to the left of the symbol
        bool cornersAreCut = false; ///< by a mask, since nothing blends them: no shadow then

        bool operator==(const Content&) const = default;
    };

    void setContent(const Content& content);
    const Content& content() const { return content_; }

    /// What the window takes for this content, the margin for the shadow with it.
    QSize fittingSize(const Content& content) const;
    /// The capsule, in the window of `fittingSize`.
    QRegion shape() const;

    static constexpr int margin = 12;   ///< around the capsule, for its shadow
    static constexpr int smallest = 40; ///< the capsule's sides, at least
    static constexpr double dimmed = 0.55;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QFont labelFont() const;
    QRect capsule() const;
    void drawFace(QPainter& painter) const;

    Content content_;
};

} // namespace velmoran
