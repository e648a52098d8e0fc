// The settings' window over a model of a test, driven by the names that a person or a screen reader
// knows its controls by.
#pragma once

#include "app/contents/Sessions.h"
#include "app/controls/Choices.h"
#include "app/controls/Labels.h"
#include "app/model/ModelFixture.h"
#include "app/screens/SettingsView.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmoran::testing {

struct TestLoginItem final : LoginItem {
    bool isOn() const override { return on; }
    bool set(bool wanted) override {
        asked.push_back(wanted);
        if (!refuses) {
            on = wanted;
        }
        return !refuses;
    }

    bool on = false;
    bool refuses = false;
    std::vector<bool> asked;
};

/// All of one kind in a window, hidden ones too.
template <class T>
std::vector<T*> allOf(const QWidget& in) {
    // Not by Qt's own look for a type, which takes any widget for one that has no meta object.
    std::vector<T*> result;
    for (auto* each : in.findChildren<QWidget*>()) {
        if (auto* found = dynamic_cast<T*>(each)) {
            result.push_back(found);
        }
    }
    return result;
}

/// A button by what a screen reader calls it, if it can be seen in its window.
inline QAbstractButton* button(const QWidget& in, const std::string& name) {
    for (auto* each : allOf<QAbstractButton>(in)) {
        const auto* spoken = QAccessible::queryAccessibleInterface(each);
        if (each->isVisibleTo(&in) && spoken->text(QAccessible::Name).toStdString() == name) {
            return each;
        }
    }
    return nullptr;
}

/// What stands in a window to be read, in no particular order.
inline bool says(const QWidget& in, const std::string& text) {
    const auto wanted = QString::fromStdString(text);
    for (const auto* each : allOf<QLabel>(in)) {
        if (each->text() == wanted && each->isVisibleTo(&in)) {
            return true;
        }
    }
    for (const auto* each : allOf<LineLabel>(in)) {
        if (each->text() == wanted && each->isVisibleTo(&in)) {
            return true;
        }
    }
    return false;
}

struct SettingsFixture : ModelFixture {
    TestLoginItem loginItem;
    std::vector<std::string> opened;
    int relaunches = 0;
    std::optional<WebAddresses> web = WebAddresses("velmoran.example");
    std::unique_ptr<SettingsView> view;

    ScreenContext context() {
        ScreenContext result{.model = *model,
                             .scheduler = time,
                             .picture = [](const AppIdentity&) { return QIcon(); },
                             .actions = {}};
        result.actions.relaunch = [this] {
            ++relaunches;
        };
        result.actions.openWebPage = [this](const std::string& address) {
            opened.push_back(address);
        };
        return result;
    }

    void show() {
        if (!model) {
            launch();
        }
        view = std::make_unique<SettingsView>(context(), loginItem, nullptr, web);
        view->resize(view->sizeHint());
        view->show();
        QApplication::processEvents();
    }

    void TearDown() override { view.reset(); }

    Switch& toggle(const std::string& name) const {
        auto* found = dynamic_cast<Switch*>(button(*view, name));
        if (!found) {
            throw std::runtime_error("no switch " + name);
        }
        return *found;
    }

    QComboBox& picker(const std::string& name) const {
        for (auto* each : allOf<QComboBox>(*view)) {
            if (each->accessibleName().toStdString() == name) {
                return *each;
            }
        }
        throw std::runtime_error("no picker " + name);
    }

    /// As a person takes an entry.
    void choose(const std::string& name, const char* entry) const {
        auto& box = picker(name);
        const int at = box.findText(QString::fromUtf8(entry));
        ASSERT_GE(at, 0) << entry;
        box.setCurrentIndex(at);
        Q_EMIT box.activated(at);
        QApplication::processEvents();
    }

    void press(const std::string& name) const {
        auto* found = button(*view, name);
        ASSERT_TRUE(found) << name;
        found->click();
        QApplication::processEvents();
    }

    /// The question that is being asked, or null.
    QDialog* question() const {
        for (auto* each : allOf<QDialog>(*view)) {
            if (each->isVisible()) {
                return each;
            }
        }
        return nullptr;
    }

    void answer(const std::string& name) const {
        auto* dialog = question();
        ASSERT_TRUE(dialog);
        auto* found = button(*dialog, name);
        ASSERT_TRUE(found) << name;
        found->click();
        QApplication::processEvents();
    }
};

} // namespace velmoran::testing
