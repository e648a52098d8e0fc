// What lets a person choose: segments, switches, lists. Owned by their parents.
#pragma once

#include "app/controls/Buttons.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QList>
#include <functional>

namespace velmoran {

/// One of a few, side by side. Walked with the arrow keys; for a screen reader a group of radio
/// buttons with that name. `onChoose` is called for the person's choices alone.
class SegmentedControl final : public QWidget {
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
    QButtonGroup* group_;
    int current_ = 0;
};

/// On or off, drawn as a switch. For a screen reader a check box.
class Switch final : public Button {
public:
    Switch(const QString& accessibleName, QWidget* parent);
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// A line of a form: title at the left, under it a note in secondary, the control at the right.
/// A click on the title of a line with a switch switches it.
class FormRow final : public QWidget {
public:
    FormRow(const QString& title, const QString& note, QWidget* control, QWidget* parent);
    void setNote(const QString& note); ///< empty: none
    void setTitle(const QString& title);

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    LineLabel* title_;
    TextLabel* note_;
    QWidget* control_;
};

/// A desktop's own drop-down list with an accessible name.
QComboBox* makePicker(const QString& accessibleName, const QList<QString>& entries,
                      QWidget* parent);

} // namespace velmoran
