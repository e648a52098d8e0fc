#include "app/screens/ItemListAccess.h"

#include "app/screens/ItemList.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QStringList>

namespace velmoran {

namespace {

class ItemAccess final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    ItemAccess(ItemList& list, int index) : list_(&list), index_(index) {}

    bool isValid() const override { return list_ && index_ < list_->count(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return list_ ? list_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(list_);
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }

    QString text(QAccessible::Text kind) const override {
        return isValid() && kind == QAccessible::Name ? list_->source().name(index_) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        if (!isValid()) {
            return {};
        }
        const auto frame = list_->frameOf(index_);
        return {list_->viewport()->mapToGlobal(frame.topLeft()), frame.size()};
    }
    QAccessible::Role role() const override {
        return isHeading() ? QAccessible::Heading : QAccessible::ListItem;
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        const bool isCurrent = list_->current() == index_;
        state.focusable = !isHeading();
        state.selectable = !isHeading();
        state.selected = isCurrent;
        state.focused = isCurrent && list_->hasFocus();
        state.offscreen = !list_->frameOf(index_).intersects(list_->viewport()->rect());
        state.invisible = !list_->isVisible();
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface && isValid() && !isHeading()
                   ? static_cast<QAccessibleActionInterface*>(this)
                   : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    void doAction(const QString& action) override {
        if (action == pressAction() && isValid()) {
            list_->press(index_);
        }
    }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

    int index() const { return index_; }

private:
    bool isHeading() const { return isValid() && list_->isHeading(index_); }

    QPointer<ItemList> list_;
    int index_;
};

class ListAccess final : public QAccessibleWidget {
public:
    explicit ListAccess(ItemList& list) : QAccessibleWidget(&list, QAccessible::List) {}

    int childCount() const override { return list().count(); }
    QAccessibleInterface* child(int index) const override { return list().accessibleItem(index); }
    int indexOfChild(const QAccessibleInterface* child) const override {
        const auto* item = dynamic_cast<const ItemAccess*>(child);
        return item ? item->index() : -1;
    }
    QAccessibleInterface* childAt(int x, int y) const override {
        const auto index = list().indexAt(list().viewport()->mapFromGlobal(QPoint(x, y)));
        return index ? list().accessibleItem(*index) : nullptr;
    }
    QAccessibleInterface* focusChild() const override {
        const auto current = list().current();
        return current && list().hasFocus() ? list().accessibleItem(*current) : nullptr;
    }

private:
    ItemList& list() const { return *static_cast<ItemList*>(object()); }
};

QAccessibleInterface* makeListAccess(const QString&, QObject* object) {
    auto* list = dynamic_cast<ItemList*>(object);
    return list ? new ListAccess(*list) : nullptr;
}

} // namespace

void installItemListAccess() {
    QAccessible::installFactory(makeListAccess); // Qt leaves out one that it has
}

QAccessibleInterface* makeAccessibleItem(ItemList& list, int index) {
    return new ItemAccess(list, index);
}

} // namespace velmoran
