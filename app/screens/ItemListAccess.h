// What a screen reader meets in an ItemList. Its lines are objects of their own, made when they are
// asked for and gone when the list changes; headings are headings. Main thread.
#pragma once

#include <QAccessible>

namespace velmoran {

class ItemList;

/// Once for all lists; a further call does nothing.
void installItemListAccess();
/// The object of a line. The caller registers it.
QAccessibleInterface* makeAccessibleItem(ItemList& list, int index);
/// That of what can be pressed within it, a button. The caller registers it.
QAccessibleInterface* makeAccessiblePart(ItemList& list, int index);

} // namespace velmoran
