// What lets a person choose: segments, switches, lists. Owned by their parents.
#pragma once

#include "app/controls/Buttons.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QList>
#include <functional>

class QVariantAnimation;

namespace velmoran {

/// One of a few, side by side. Walked with the arrow keys, Home and End; for a screen reader a
/// group of radio buttons with that name. `onChoose` is called for the person's choices alone.
class SegmentedControl final : public QWidget {
    Q_OBJECT

public:
    struct Segment {
        QString label;       ///< shown, or the accessible name where there is a symbol
        QString symbol = {}; ///< shown instead, if there is one
    };

    SegmentedControl(const QString& accessibleName, const QList<Segment>& segments,
                     QWidget* parent);
    int current() const { return current_; }
    void setCurrent(int index);
    std::function<void(int)> onChoose;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void choose(int index);
    QButtonGroup* group_;
    int current_ = 0;
};

/// On or off, drawn as a switch. For a screen reader a check box. Its changes by click, key or
/// setChecked() come as toggled(), those by the person alone as clicked().
class Switch final : public Button {
    Q_OBJECT

public:
    Switch(const QString& accessibleName, QWidget* parent);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    double focusRadius() const override;
    void checkStateSet() override;
    void nextCheckState() override;

private:
    void slide();
    QVariantAnimation* sliding_;
    double place_ = 0; ///< of the knob, from 0 (off) to 1
};

/// A line of a form: title at the left, under it a note in secondary, the control at the right.
/// A click on the title of a line with a switch switches it. A control without a text and an
/// accessible name gets the title, and one without a description the note.
class FormRow final : public QWidget {
    Q_OBJECT

public:
    FormRow(const QString& title, const QString& note, QWidget* control, QWidget* parent);
    void setNote(const QString& note); ///< empty: none
    void setTitle(const QString& title);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    TextLabel* title_;
    TextLabel* note_;
    QWidget* control_;
    bool namesControl_;
    bool describesControl_;
};

/// A desktop's own drop-down list with an accessible name. The wheel scrolls what it stands in, and
/// keys choose only in the open list: the arrows, Home, End and letters open it.
QComboBox* makePicker(const QString& accessibleName, const QList<QString>& entries,
                      QWidget* parent);

} // namespace velmoran
