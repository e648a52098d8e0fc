#include "AccessibleTree.h"

#include "app/controls/Buttons.h"
#include "app/controls/Labels.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QLabel>
#include <QMetaEnum>

namespace velmoran::testing {

namespace {

bool isControl(QAccessible::Role role) {
    switch (role) {
    case QAccessible::Button:
    case QAccessible::ButtonMenu:
    case QAccessible::CheckBox:
    case QAccessible::RadioButton:
    case QAccessible::ComboBox:
    case QAccessible::EditableText:
    case QAccessible::Link:
    case QAccessible::ListItem:
    case QAccessible::MenuItem:
    case QAccessible::PageTab:
    case QAccessible::Slider:
    case QAccessible::SpinBox:
        return true;
    default:
        return false;
    }
}

/// What may have the keyboard beside a control.
bool isWalkedThrough(QAccessible::Role role) {
    switch (role) {
    case QAccessible::List:
    case QAccessible::Table:
    case QAccessible::Tree:
    case QAccessible::Cell:
    case QAccessible::RowHeader:
        return true;
    default:
        return false;
    }
}

QString textShownBy(const QWidget& widget) {
    if (const auto* label = qobject_cast<const QLabel*>(&widget)) {
        return label->text();
    }
    if (const auto* line = dynamic_cast<const LineLabel*>(&widget)) {
        return line->text();
    }
    if (const auto* button = dynamic_cast<const Button*>(&widget)) {
        return button->plainText();
    }
    return {};
}

} // namespace

AccessibleTree::AccessibleTree(const QWidget& window) {
    auto* top = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(&window));
    if (top->text(QAccessible::Name).trimmed().isEmpty()) {
        fault(QStringLiteral("the window"), QStringLiteral("has no name"));
    }
    walk(top, QString());
    missWidgets(window);
}

void AccessibleTree::fault(const QString& path, const QString& what) {
    faults_.push_back((path + QStringLiteral(": ") + what).toStdString());
}

void AccessibleTree::walk(QAccessibleInterface* item, const QString& path) {
    if (item->state().invisible) {
        return;
    }
    const auto name = item->text(QAccessible::Name);
    const auto here =
        path + '/' +
        QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(item->role())) +
        QStringLiteral(" \"") + name + '"';
    met_.insert(item->object());
    if (!name.trimmed().isEmpty()) {
        names_.push_back(name.toStdString());
    }
    judge(item, here);
    if (item->role() == QAccessible::ComboBox) {
        return; // what is in it is Qt's own list
    }
    for (int index = 0; index < item->childCount(); ++index) {
        auto* child = item->child(index);
        if (!child) {
            fault(here, QStringLiteral("has no child %1").arg(index));
            continue;
        }
        if (child->role() == QAccessible::ScrollBar) {
            continue; // as Qt has it, and nobody's way
        }
        if (item->indexOfChild(child) != index) {
            fault(here, QStringLiteral("doesn't find its child %1 again").arg(index));
        }
        walk(child, here);
    }
}

void AccessibleTree::judge(QAccessibleInterface* item, const QString& path) {
    const auto role = item->role();
    const auto* widget = qobject_cast<QWidget*>(item->object());
    const bool isWalked =
        widget ? bool(widget->focusPolicy() & Qt::TabFocus) : bool(item->state().focusable);
    if (!isControl(role) && !isWalked && !item->state().focusable) {
        return;
    }
    if (item->text(QAccessible::Name).trimmed().isEmpty()) {
        fault(path, QStringLiteral("has no name"));
    }
    if (isWalked && !isControl(role) && !isWalkedThrough(role)) {
        fault(path, QStringLiteral("has the keyboard, but no role that fits"));
    }
    if (isControl(role) || isWalked) {
        if (widget) {
            controls_.insert(widget);
        }
        if (item->rect().isEmpty()) {
            fault(path, QStringLiteral("has no place"));
        }
        judgeState(item, path);
    }
}

void AccessibleTree::judgeState(QAccessibleInterface* item, const QString& path) {
    const auto state = item->state();
    const auto role = item->role();
    // What stands in a list of Qt's own is read, and leads nowhere. Ours says where that is so.
    const bool isOnlyRead = (role == QAccessible::ListItem && state.readOnly) ||
                            qobject_cast<QAbstractItemView*>(item->parent()->object());
    if (isControl(role) && !isOnlyRead) {
        auto* action = item->actionInterface();
        if (!action || (!state.disabled && action->actionNames().isEmpty())) {
            fault(path, QStringLiteral("can't be pressed"));
        }
    }
    if (role == QAccessible::CheckBox || role == QAccessible::RadioButton) {
        const auto* button = qobject_cast<QAbstractButton*>(item->object());
        if (!state.checkable || (button && button->isChecked() != bool(state.checked))) {
            fault(path, QStringLiteral("doesn't say whether it is on"));
        }
    }
    if (role == QAccessible::ComboBox) {
        if (item->text(QAccessible::Value).trimmed().isEmpty()) {
            fault(path, QStringLiteral("has no value"));
        }
        // Its name is the value, as Qt has it: that it is labelled tells more, or its description.
        if (item->relations(QAccessible::Label).isEmpty() &&
            item->text(QAccessible::Description).trimmed().isEmpty()) {
            fault(path, QStringLiteral("doesn't say what it is for"));
        }
    }
    // Of a list that unfolds Qt tells only that it is open.
    if (role != QAccessible::ComboBox && state.expandable &&
        bool(state.expanded) == bool(state.collapsed)) {
        fault(path, QStringLiteral("doesn't say whether it is open"));
    }
    if (role == QAccessible::ListItem && !state.selectable) {
        fault(path, QStringLiteral("can't be chosen"));
    }
    if (role == QAccessible::Table &&
        (!item->tableInterface() || item->tableInterface()->rowCount() == 0)) {
        fault(path, QStringLiteral("has no rows"));
    }
}

void AccessibleTree::missWidgets(const QWidget& window) {
    for (const auto* each : window.findChildren<QWidget*>()) {
        if (!each->isVisible() || each->window() != &window || met_.contains(each)) {
            continue;
        }
        // Qt's own parts of a list that unfolds.
        if (qobject_cast<const QComboBox*>(each->parentWidget())) {
            continue;
        }
        if (each->focusPolicy() & Qt::TabFocus) {
            fault(each->objectName(),
                  QStringLiteral("is walked through, but nobody is told of it"));
        }
        if (const auto text = textShownBy(*each); !text.trimmed().isEmpty()) {
            fault('"' + text + '"', QStringLiteral("is shown, but nobody is told of it"));
        }
    }
    for (const auto* each : window.findChildren<QWidget*>()) {
        const auto text = textShownBy(*each).simplified();
        if (!each->isVisible() || !met_.contains(each) || text.isEmpty()) {
            continue;
        }
        auto* item = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(each));
        const auto told =
            (item->text(QAccessible::Name) + ' ' + item->text(QAccessible::Description))
                .simplified();
        // A name may say more than a button has room for, and in other words.
        if (!told.contains(text) && !dynamic_cast<const Button*>(each)) {
            fault('"' + text + '"', QStringLiteral("is told as \"") + told + '"');
        }
    }
}

} // namespace velmoran::testing
