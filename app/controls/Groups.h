// Larger parts of windows. Owned by their parents.
#pragma once

#include "app/controls/Buttons.h"

#include <QDialog>
#include <QPointer>
#include <QVBoxLayout>
#include <functional>
#include <vector>

namespace velmoran {

/// Symbol, title and one sentence in the middle of their area.
class EmptyState final : public QWidget {
    Q_OBJECT

public:
    EmptyState(const QString& symbol, const QString& title, const QString& sentence,
               QWidget* parent);
};

/// A heading that folds what is under it. Closed at first.
class Disclosure final : public QWidget {
    Q_OBJECT

public:
    Disclosure(const QString& title, QWidget* content, QWidget* parent);
    bool isOpen() const { return isOpen_; }
    void setOpen(bool open);
    /// The window may have to be fitted anew.
    std::function<void()> onFold;
    QAbstractButton* heading() const { return heading_; }

protected:
    void changeEvent(QEvent* event) override;

private:
    void showFolding();
    RowButton* heading_;
    SymbolLabel* chevron_;
    QWidget* content_;
    bool isOpen_ = false;
};

/// A section of a form: a heading, if any, then lines with hairlines between them. The 20 points
/// above it are its layout's spacing.
class FormSection final : public QWidget {
    Q_OBJECT

public:
    FormSection(const QString& heading, QWidget* parent);
    void add(QWidget* line);

    struct Line {
        QWidget* widget;
        bool hasHairline = true; ///< above it, where it isn't the first
    };
    /// What stands in it from now on, in this order, which is that of the Tab key too. Lines that
    /// were there before stay as they are; those that no longer are get hidden, and may be deleted.
    /// The heading stays.
    void setLines(const std::vector<Line>& lines);

private:
    QVBoxLayout* lines_;
};

/// A question with two answers, in front of its window. "Cancel", Escape and closing do nothing.
/// Not a loop of its own: it returns at once, and `confirmed` is called later or never. What
/// destroys is in red and asks for a press of its own, as Enter cancels it; otherwise Enter
/// confirms. Ends without an answer when `over` goes or is hidden. Null `confirmed` is not allowed.
struct Question {
    QString title;
    QString message;
    QString confirm;
    bool isDestructive = false;
};
QDialog* ask(QWidget* over, const Question& question, std::function<void()> confirmed);

/// A small note that hangs at a control and goes with Escape or a click elsewhere. Takes `content`.
QWidget* showNote(QWidget* at, QWidget* content);

/// The desktop asks for less motion: its style has no animations, or its settings portal says
/// "reduced-motion" or that GNOME's animations are off. The portal is asked without waiting, when
/// this is first called, so that its word counts from a moment later on; call it when a window is
/// made.
bool wantsLessMotion();

} // namespace velmoran
