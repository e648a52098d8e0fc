// The History window over a history that a test has written, on a screen that isn't there.
#pragma once

#include "app/contents/Sessions.h"
#include "app/model/ModelFixture.h"
#include "app/screens/HistoryScreen.h"

#include <QAccessible>
#include <QApplication>
#include <QComboBox>
#include <QKeyEvent>
#include <QMouseEvent>
#include <gmock/gmock.h>
#include <string>
#include <vector>

namespace velmoran::testing {

struct HistoryFixture : ModelFixture {
    std::vector<ActivityRow> details;
    int settingsShown = 0;
    std::unique_ptr<HistoryScreen> screen;

    ~HistoryFixture() override {
        screen.reset();
        subscriptions.clear();
    }

    /// That long ago, for a minute.
    UsageSession past(const std::string& app, Device device, Seconds ago) {
        return sessionOf(app, device, time.now() - ago, time.now() - ago + 60);
    }
    /// The system's own listening.
    UsageSession pastListening(Seconds ago) {
        auto use = past("Siri", Device::microphone, ago);
        use.app.path = "/siri";
        machine.script.signingIDs["/siri"] = "com.apple.corespeechd";
        return use;
    }
    void keep(const UsageSession& session) { store->saveSession(session); }

    void open() {
        if (!model) {
            launch();
        }
        ScreenContext context{.model = *model, .scheduler = time, .picture = {}, .actions = {}};
        context.picture = [](const AppIdentity&) {
            return QIcon();
        };
        context.actions.showDetails = [this](const ActivityRow& row) {
            details.push_back(row);
        };
        context.actions.showSettings = [this] {
            ++settingsShown;
        };
        screen = std::make_unique<HistoryScreen>(context);
        screen->resize(screen->sizeHint());
        screen->show();
        QApplication::processEvents();
    }

    /// The model hears of it as of its own.
    void settle() {
        time.runPosted();
        QApplication::processEvents();
    }

    static QAccessibleInterface* access(QObject* object) {
        return QAccessible::queryAccessibleInterface(object);
    }
    static std::string nameOf(QAccessibleInterface* item) {
        return item ? item->text(QAccessible::Name).toStdString() : "";
    }
    /// What a screen reader meets in a list, in order.
    static std::vector<std::string> namesIn(QObject* list) {
        std::vector<std::string> names;
        auto* interface = access(list);
        for (int index = 0; index < interface->childCount(); ++index) {
            names.push_back(nameOf(interface->child(index)));
        }
        return names;
    }
    std::vector<std::string> rows() const { return namesIn(&screen->rows().list()); }

    template <class Widget = QWidget>
    Widget* part(const char* name) const {
        return dynamic_cast<Widget*>(screen->findChild<QWidget*>(QLatin1String(name)));
    }
    template <class Widget>
    static std::vector<Widget*> all(QWidget* in) {
        std::vector<Widget*> found;
        for (auto* each : in->findChildren<QWidget*>()) {
            if (auto* widget = dynamic_cast<Widget*>(each)) {
                found.push_back(widget);
            }
        }
        return found;
    }
    /// The button with that accessible name, below a part.
    static QAbstractButton* button(QWidget* in, const std::string& name) {
        for (auto* each : in->findChildren<QAbstractButton*>()) {
            if (nameOf(access(each)) == name) {
                return each;
            }
        }
        return nullptr;
    }
    void choose(const char* picker, int index) {
        auto* box = part<QComboBox>(picker);
        box->setCurrentIndex(index);
        box->activated(index);
    }

    static void press(QWidget* widget, int key) {
        QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
        QApplication::sendEvent(widget, &down);
        QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(widget, &up);
    }
    static void click(QWidget* widget, QPointF place) {
        const auto global = widget->mapToGlobal(place);
        for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
            const auto buttons = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
            QMouseEvent event(type, place, global, Qt::LeftButton, buttons, Qt::NoModifier);
            QApplication::sendEvent(widget, &event);
        }
    }
};

} // namespace velmoran::testing
