// A list of any length that costs what is seen of it: lines of one height, with headings between
// them, or each of its own height. Draws and names its lines through its source. Walked with the
// arrow keys, to what can be pressed within a line with the one to the right or Tab; a screen
// reader meets each line with its name and role. Owned by its parent.
#pragma once

#include "app/screens/LinePlaces.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <map>
#include <optional>
#include <vector>

namespace velmoran {

/// What an ItemList shows. Outlives the list.
class ItemSource {
public:
    struct Look {
        QRect frame;
        bool isCurrent = false; ///< chosen, in a list that has the keyboard
        bool isHovered = false;
    };

    virtual ~ItemSource() = default;
    virtual void paint(QPainter& painter, int index, const Look& look) const = 0;
    /// For a screen reader.
    virtual QString name(int index) const = 0;
    /// The tip at that place of the line; empty for none.
    virtual QString help(int index, const QRect& frame, QPoint place) const = 0;
    /// What of a line can be pressed apart from the line itself; empty for nothing.
    virtual QRect part(int /*index*/, const QRect& /*frame*/) const { return {}; }
    /// For a screen reader.
    virtual QString partName(int /*index*/) const { return {}; }
    /// The line was clicked there, or pressed without a place. What presses its part does so in the
    /// part's middle.
    virtual void press(int index, const QRect& frame, std::optional<QPoint> place) = 0;
    /// Whether lines are there to be pressed, or only to be read.
    virtual bool isPressable() const { return true; }
    /// The list has another width. What goes by it may be set anew.
    virtual void widthChanged() {}
};

class ItemList final : public QAbstractScrollArea {
public:
    ItemList(const QString& accessibleName, ItemSource& source, QWidget* parent);
    ~ItemList() override;

    /// What there is from now on. `headings` are the ascending indexes of lines that are headings,
    /// which can't be chosen. `current` and `top` are where the chosen and the topmost line stand
    /// now; nothing for one that has gone.
    void setItems(int count, std::vector<int> headings, std::optional<int> current = {},
                  std::optional<int> top = {});
    /// The same for lines of these heights, headings too.
    void setItems(const std::vector<int>& heights, std::vector<int> headings,
                  std::optional<int> current = {}, std::optional<int> top = {});
    int count() const { return places_.count(); }
    bool isHeading(int index) const { return places_.isHeading(index); }
    std::optional<int> current() const { return current_; }
    void setCurrent(std::optional<int> index);
    /// The topmost line that is seen and no heading; nothing at the list's very beginning, which
    /// stays the beginning whatever comes.
    std::optional<int> top() const;
    /// In the viewport's coordinates.
    QRect frameOf(int index) const;
    std::optional<int> indexAt(QPoint place) const;
    void press(int index, std::optional<QPoint> place = {});
    /// Where the part of a line stands, in the viewport's coordinates; empty without one.
    QRect partOf(int index) const;
    void pressPart(int index);
    /// The keyboard is at the part of the chosen line.
    bool isOnPart() const { return isOnPart_; }
    const ItemSource& source() const { return source_; }
    /// The names of all that is seen have changed, without a line that came or went.
    void refresh();

    int lineHeight() const { return places_.lineHeight(); }
    void setLineHeight(int height);

    /// The accessible object of a line, made when it is asked for.
    QAccessibleInterface* accessibleItem(int index);
    /// That of its part; null without one.
    QAccessibleInterface* accessiblePart(int index);

    QSize sizeHint() const override;

protected:
    bool focusNextPrevChild(bool next) override;
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void take(LinePlaces places, std::optional<int> current, std::optional<int> top);
    void move(std::optional<int> to);
    /// That line gets so much above the upper edge.
    void scrollTo(std::optional<int> top, int offset);
    /// Whether there was such a step to make.
    bool step(bool toPart);
    void paintFocus(QPainter& painter, const QRect& frame) const;
    void tellFocus();
    void forgetAccessibleItems();
    void hover(std::optional<int> index);

    ItemSource& source_;
    LinePlaces places_;
    std::optional<int> current_;
    std::optional<int> hovered_;
    std::optional<int> pressed_;
    bool focusIsByKeyboard_ = false;
    bool isOnPart_ = false;
    std::map<int, QAccessible::Id> accessibleItems_;
    std::map<int, QAccessible::Id> accessibleParts_;
};

} // namespace velmoran
