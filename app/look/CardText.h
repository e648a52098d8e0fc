// One text of a card: wrapped to a given width, between words where that is possible and inside
// them where not, and cut with an ellipsis after so many lines, when its tool tip has the whole.
// Knows its height at once, so that a card is laid out in one go. Owned by its card; main thread.
#pragma once

#include <QColor>
#include <QFont>
#include <QLabel>
#include <QTextLayout>

namespace velmoran {

/// The text as it may stand on a card: without control characters and without the marks that turn
/// the direction of what follows, since a part of it may come from the program that is being told
/// of. Line breaks stay.
QString harmlessText(const QString& text);

/// A tool tip that shows such a text as it stands, also where it looks like markup.
QString plainToolTip(const QString& text);

class CardText final : public QLabel {
public:
    CardText(const QString& text, const QFont& font, const QColor& color, int width, int mostLines,
             QWidget* parent);

    /// What is drawn, with the ellipsis; lines that were apart in the text are so by U+2028.
    QString shownText() const { return layout_.text(); }
    /// How far from the left the character stands, in the first line.
    qreal leftOf(int character) const { return layout_.lineAt(0).cursorToX(character); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QTextLayout layout_;
    QColor color_;
};

} // namespace velmoran
