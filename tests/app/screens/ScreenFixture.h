// A model on a scripted machine with what a screen stands on, and what of a screen a screen reader
// finds.
#pragma once

#include "app/model/ModelFixture.h"
#include "app/screens/ScreenContext.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QPointer>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

namespace velmoran::testing {

struct ScreenFixture : ModelFixture {
    int historyShown = 0;
    int settingsShown = 0;
    int quits = 0;
    std::vector<ActivityRow> detailsShown;

    ScreenContext context() {
        return {.model = *model,
                .scheduler = time,
                .picture = AppPicture([](const AppIdentity&) { return QIcon(); }),
                .actions = {
                    .showHistory = [this] { ++historyShown; },
                    .showSettings = [this] { ++settingsShown; },
                    .showDetails = [this](const ActivityRow& row) { detailsShown.push_back(row); },
                    .quit =
                        [this] {
                            ++quits;
                        }}};
    }

    /// Lays out what has changed.
    static void settle() {
        QApplication::sendPostedEvents();
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// All names that are to be read on a screen, those of its parts after their own, in no order
    /// that means anything; each widget that is shown gives one.
    static std::vector<std::string> names(const QWidget& screen) {
        settle();
        std::vector<std::string> result;
        for (auto* each : screen.findChildren<QWidget*>()) {
            auto* spoken = QAccessible::queryAccessibleInterface(each);
            const auto name = spoken ? spoken->text(QAccessible::Name) : QString();
            if (each->isVisibleTo(&screen) && !name.isEmpty()) {
                result.push_back(name.toStdString());
            }
        }
        return result;
    }

    /// The first one of that name that is shown; null without one.
    static QAbstractButton* button(const QWidget& screen, const std::string& name) {
        settle();
        for (auto* each : screen.findChildren<QAbstractButton*>()) {
            if (each->isVisibleTo(&screen) &&
                QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name) ==
                    QString::fromStdString(name)) {
                return each;
            }
        }
        return nullptr;
    }

    static void press(const QWidget& screen, const std::string& name) {
        auto* found = button(screen, name);
        ASSERT_NE(found, nullptr) << name;
        found->click();
        settle();
    }

    using ModelFixture::press;
};

} // namespace velmoran::testing
