#include "app/controls/Accessibility.h"

#include "app/controls/Choices.h"
#include "app/controls/Groups.h"

#include <QAccessible>
#include <QAccessibleWidget>

namespace velmoran {

namespace {

class PartInterface final : public QAccessibleWidget {
public:
    PartInterface(QWidget* widget, QAccessible::Role role) : QAccessibleWidget(widget, role) {}
    QAccessible::Role role() const override {
        const auto result = QAccessibleWidget::role();
        return result == QAccessible::Graphic && widget()->accessibleName().isEmpty()
                   ? QAccessible::NoRole
                   : result;
    }
    QAccessible::State state() const override {
        auto result = QAccessibleWidget::state();
        result.invisible = result.invisible || role() == QAccessible::NoRole;
        return result;
    }
};

/// A heading that folds: a button that is open or isn't.
class HeadingInterface final : public QAccessibleWidget {
public:
    HeadingInterface(QAbstractButton& button, const Disclosure& disclosure)
        : QAccessibleWidget(&button, QAccessible::Button),
          button_(button),
          disclosure_(disclosure) {}
    QAccessible::State state() const override {
        auto result = QAccessibleWidget::state();
        result.expandable = true;
        result.expanded = disclosure_.isOpen();
        result.collapsed = !disclosure_.isOpen();
        return result;
    }
    QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
    void doAction(const QString& name) override {
        if (name == pressAction()) {
            button_.click();
        } else {
            QAccessibleWidget::doAction(name);
        }
    }

private:
    QAbstractButton& button_;
    const Disclosure& disclosure_;
};

QAccessibleInterface* interfaceOf(const QString&, QObject* object) {
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget) {
        return nullptr;
    }
    const auto is = [&]<class... Kinds>() {
        return (dynamic_cast<Kinds*>(widget) || ...);
    };
    if (is.operator()<LineLabel>()) {
        return new PartInterface(widget, QAccessible::StaticText);
    }
    if (is.operator()<SymbolLabel>()) {
        return new PartInterface(widget, QAccessible::Graphic);
    }
    if (is.operator()<AppImage, Hairline>()) {
        return new PartInterface(widget, QAccessible::NoRole);
    }
    if (is.operator()<SegmentedControl, FormSection, EmptyState>()) {
        return new PartInterface(widget, QAccessible::Grouping);
    }
    if (auto* heading = dynamic_cast<RowButton*>(widget)) {
        if (auto* disclosure = dynamic_cast<Disclosure*>(widget->parentWidget())) {
            if (disclosure->heading() == heading) {
                return new HeadingInterface(*heading, *disclosure);
            }
        }
    }
    return nullptr;
}

} // namespace

void makeAccessible() {
    QAccessible::installFactory(interfaceOf); // once, however often it is called
}

} // namespace velmoran
