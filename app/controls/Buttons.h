// The buttons of windows. All take the keyboard (Tab, then Space or Enter), show the focus only
// when the keyboard brought it, and follow palette and font. Owned by their parents.
#pragma once

#include "app/controls/Labels.h"

#include <QAbstractButton>
#include <QString>

namespace velmoran {

/// Shared by all: hover, pressed, the ring of the focus.
class Button : public QAbstractButton {
    Q_OBJECT

public:
    explicit Button(QWidget* parent);
    ~Button() override;
    /// The text as it is to be read; setText() of the base takes an ampersand for the mark of a
    /// key.
    void setPlain(const QString& text);
    QString plainText() const;
    /// Return and Enter press it while no other button has the focus.
    void setIsDefault();
    bool showsFocus() const;

protected:
    bool event(QEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    /// What the ring goes around, and its corners.
    virtual QRectF focusFrame() const { return rect(); }
    virtual double focusRadius() const { return 8; }
    bool isHovered() const { return isHovered_; }
    /// What is seen of the text in the room that there is; the whole is the tool tip where that is
    /// less, unless the caller has set one.
    virtual QString cut() const { return plainText(); }
    void refreshToolTip();
    void resizeEvent(QResizeEvent* event) override;
    /// Under the mouse or pressed: the wash of that, otherwise nothing.
    void paintWash(QPainter& painter, const QRectF& frame, double radius) const;

private:
    bool isHovered_ = false;
    QString ownToolTip_; ///< the last one that wasn't the caller's
};

/// Text alone, in the text colour, underlined under the mouse. What destroys is red.
class LinkButton final : public Button {
    Q_OBJECT

public:
    LinkButton(const QString& text, QWidget* parent, TextStyle style = TextStyle::body);
    void setDestructive(bool destructive);
    void setInk(Ink ink);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    QString cut() const override;
    double focusRadius() const override { return 4; }

private:
    TextStyle style_;
    Ink ink_ = Ink::text;
};

/// A symbol alone; `help` is its tool tip, `label` its accessible name.
class SymbolButton final : public Button {
    Q_OBJECT

public:
    SymbolButton(const QString& symbol, int points, int side, QWidget* parent);
    void setSymbol(const QString& symbol);
    void setInk(Ink ink);
    void setWords(const QString& help, const QString& label);
    /// A slanted bar across it.
    void setCrossed(bool crossed);
    bool isCrossed() const { return isCrossed_; }
    QString symbol() const { return symbol_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString symbol_;
    int points_;
    int side_;
    Ink ink_ = Ink::text;
    bool isCrossed_ = false;
};

/// A button with a face: `prominent` in the palette's highlight, `stop` in the program's yellow,
/// `destructive` a plain one whose word is red. Small ones stand in lines of text.
class FaceButton final : public Button {
    Q_OBJECT

public:
    enum class Face { plain, prominent, stop, destructive };
    FaceButton(const QString& text, Face face, QWidget* parent);
    void setSmall(bool small);
    Face face() const { return face_; }
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    QString cut() const override;

private:
    QFont ownFont() const;
    int padding() const { return isSmall_ ? 10 : 16; }
    Face face_;
    bool isSmall_ = false;
};

/// A whole line that can be pressed; put a layout with labels into it. The children must not take
/// the mouse (WA_TransparentForMouseEvents is set on each as it comes); their tool tips show all
/// the same. The accessible name is the caller's to set.
class RowButton : public Button {
    Q_OBJECT

public:
    explicit RowButton(QWidget* parent);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    bool hasHeightForWidth() const override;
    int heightForWidth(int width) const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void childEvent(QChildEvent* event) override;
};

} // namespace velmoran
