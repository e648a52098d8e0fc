// The buttons of windows. All take the keyboard, show the focus only when the keyboard brought it,
// and follow the palette. Owned by their parents.
#pragma once

#include "app/controls/Labels.h"

#include <QAbstractButton>
#include <QString>

namespace velmoran {

/// Shared by all: hover, pressed, the ring of the focus.
class Button : public QAbstractButton {
public:
    explicit Button(QWidget* parent);

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    /// Around `frame`, if the keyboard brought the focus.
    void paintFocus(QPainter& painter, const QRectF& frame, double radius) const;
    bool isHovered() const { return isHovered_; }

private:
    bool isHovered_ = false;
    bool focusIsByKeyboard_ = false;
};

/// Text alone, in the text colour, underlined under the mouse. What destroys is red.
class LinkButton final : public Button {
public:
    LinkButton(const QString& text, QWidget* parent, TextStyle style = TextStyle::body);
    void setDestructive(bool destructive);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    TextStyle style_;
    bool isDestructive_ = false;
};

/// A symbol alone; `help` is its tool tip, `label` its accessible name.
class SymbolButton final : public Button {
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

/// A button with a face: `prominent` in the palette's highlight, `stop` in the program's yellow.
class FaceButton final : public Button {
public:
    enum class Face { plain, prominent, stop };
    FaceButton(const QString& text, Face face, QWidget* parent);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Face face_;
};

/// A whole line that can be pressed; put a layout with labels into it. The children must not take
/// the mouse (WA_TransparentForMouseEvents is set on each as it comes). The accessible name is the
/// caller's to set.
class RowButton : public Button {
public:
    explicit RowButton(QWidget* parent);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void childEvent(QChildEvent* event) override;
};

} // namespace velmoran
