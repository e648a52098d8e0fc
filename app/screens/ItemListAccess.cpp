#include "app/screens/ItemListAccess.h"

#include "app/screens/ItemList.h"

#include <QAccessibleWidget>
#include <QPointer>
#include <QStringList>

namespace velmoran {

namespace {

/// What a line and its part have in common.
class PlaceAccess : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    PlaceAccess(ItemList& list, int index) : list_(&list), index_(index) {}

    bool isValid() const override { return list_ && index_ < list_->count(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return list_ ? list_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    void setText(QAccessible::Text, const QString&) override {}
    QRect rect() const override {
        if (!isValid()) {
            return {};
        }
        const auto place = frame();
        return {list_->viewport()->mapToGlobal(place.topLeft()), place.size()};
    }
    QAccessible::State state() const override {
        QAccessible::State state;
        if (!isValid()) {
            state.invalid = true;
            return state;
        }
        state.offscreen = !frame().intersects(list_->viewport()->rect());
        state.invisible = !list_->isVisible();
        state.readOnly = !isHeading() && !list_->source().isPressable();
        return state;
    }
    void* interface_cast(QAccessible::InterfaceType type) override {
        return type == QAccessible::ActionInterface && isValid() && !isHeading() &&
                       list_->source().isPressable()
                   ? static_cast<QAccessibleActionInterface*>(this)
                   : nullptr;
    }
    QStringList actionNames() const override { return {pressAction()}; }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }

    int index() const { return index_; }

protected:
    virtual QRect frame() const = 0;
    ItemList* list() const { return list_; }
    bool isHeading() const { return isValid() && list_->isHeading(index_); }
    bool isCurrent() const { return list_->current() == index_; }

private:
    QPointer<ItemList> list_;
    int index_;
};

class PartAccess final : public PlaceAccess {
public:
    using PlaceAccess::PlaceAccess;

    QAccessibleInterface* parent() const override {
        return isValid() ? list()->accessibleItem(index()) : nullptr;
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text kind) const override {
        return isValid() && kind == QAccessible::Name ? list()->source().partName(index())
                                                      : QString();
    }
    QAccessible::Role role() const override { return QAccessible::Button; }
    QAccessible::State state() const override {
        auto state = PlaceAccess::state();
        if (isValid()) {
            state.focusable = true;
            state.focused = isCurrent() && list()->isOnPart() && list()->hasFocus();
        }
        return state;
    }
    void doAction(const QString& action) override {
        if (action == pressAction() && isValid()) {
            list()->pressPart(index());
        }
    }

protected:
    QRect frame() const override { return list()->partOf(index()); }
};

class ItemAccess final : public PlaceAccess {
public:
    using PlaceAccess::PlaceAccess;

    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(list());
    }
    QAccessibleInterface* child(int which) const override {
        return isValid() && which == 0 ? list()->accessiblePart(index()) : nullptr;
    }
    int childCount() const override { return isValid() && !list()->partOf(index()).isEmpty(); }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child && child == this->child(0) ? 0 : -1;
    }
    QString text(QAccessible::Text kind) const override {
        return isValid() && kind == QAccessible::Name ? list()->source().name(index()) : QString();
    }
    QAccessible::Role role() const override {
        return isHeading() ? QAccessible::Heading : QAccessible::ListItem;
    }
    QAccessible::State state() const override {
        auto state = PlaceAccess::state();
        if (isValid()) {
            state.focusable = !isHeading();
            state.selectable = !isHeading();
            state.selected = isCurrent();
            state.focused = isCurrent() && !list()->isOnPart() && list()->hasFocus();
        }
        return state;
    }
    void doAction(const QString& action) override {
        if (action == pressAction() && isValid()) {
            list()->press(index());
        }
    }

protected:
    QRect frame() const override { return list()->frameOf(index()); }
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
        return !current || !list().hasFocus() ? nullptr
               : list().isOnPart()            ? list().accessiblePart(*current)
                                              : list().accessibleItem(*current);
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

QAccessibleInterface* makeAccessiblePart(ItemList& list, int index) {
    return new PartAccess(list, index);
}

} // namespace velmoran
