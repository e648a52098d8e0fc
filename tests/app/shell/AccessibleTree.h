// A window as a screen reader meets it, walked from its top, and all that a person who goes by that
// would miss in it.
#pragma once

#include <QAccessible>
#include <QString>
#include <QWidget>
#include <set>
#include <string>
#include <vector>

namespace velmoran::testing {

class AccessibleTree {
public:
    /// Of what can be seen in it now.
    explicit AccessibleTree(const QWidget& window);

    /// What is wrong, a sentence each: a control or anything that the keyboard reaches without a
    /// name, a role that doesn't fit it, a missing action, state or value, a shown text or a
    /// control that isn't there at all.
    const std::vector<std::string>& faults() const { return faults_; }
    /// All names, in the order of reading.
    const std::vector<std::string>& names() const { return names_; }
    /// The widgets that it has for controls.
    const std::set<const QWidget*>& controls() const { return controls_; }

private:
    void walk(QAccessibleInterface* item, const QString& path);
    void judge(QAccessibleInterface* item, const QString& path);
    void judgeState(QAccessibleInterface* item, const QString& path);
    void missWidgets(const QWidget& window);
    void fault(const QString& path, const QString& what);

    std::vector<std::string> faults_;
    std::vector<std::string> names_;
    std::set<const QObject*> met_;
    std::set<const QWidget*> controls_;
};

} // namespace velmoran::testing
