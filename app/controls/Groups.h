// Larger parts of windows. Owned by their parents.
#pragma once

#include "app/controls/Buttons.h"

#include <QDialog>
#include <QPointer>
#include <QVBoxLayout>
#include <functional>

namespace velmoran {

/// Symbol, title and one sentence in the middle of their area.
class EmptyState final : public QWidget {
public:
    EmptyState(const QString& symbol, const QString& title, const QString& sentence,
               QWidget* parent);
};

/// A heading that folds what is under it.
class Disclosure final : public QWidget {
public:
    Disclosure(const QString& title, QWidget* content, QWidget* parent);
    bool isOpen() const { return isOpen_; }
    void setOpen(bool open);
    /// The window may have to be fitted anew.
    std::function<void()> onFold;

private:
    RowButton* heading_;
    QWidget* content_;
    bool isOpen_ = false;
};

/// A section of a form: a heading, if any, then lines with hairlines between them.
class FormSection final : public QWidget {
public:
    FormSection(const QString& heading, QWidget* parent);
    void add(QWidget* line);
    /// Without its line, for a note or a heading inside.
    void addPlain(QWidget* line);
    void clear();

private:
    QVBoxLayout* lines_;
};

/// A question with two answers, in front of its window. "Cancel", Escape and closing do nothing.
/// Not a loop of its own: it returns at once. Null `confirmed` is not allowed.
struct Question {
    QString title;
    QString message;
    QString confirm;
    bool isDestructive = false;
};
QDialog* ask(QWidget* over, const Question& question, std::function<void()> confirmed);

/// A small note that hangs at a control and goes with Escape or a click elsewhere. Takes `content`.
QWidget* showNote(QWidget* at, QWidget* content);

/// The desktop asks for less motion.
bool wantsLessMotion();

} // namespace velmoran
