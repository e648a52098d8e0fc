// The running program with all of its windows, over a history with whatever they can show.
#pragma once

#include "app/contents/Reports.h"
#include "app/contents/Sessions.h"
#include "app/model/ModelFixture.h"
#include "app/screens/EventDetailsView.h"
#include "app/screens/HistoryScreen.h"
#include "app/screens/OnboardingView.h"
#include "app/screens/SettingsView.h"
#include "app/shell/AppDelegate.h"

#include <QApplication>
#include <QDialog>
#include <QProxyStyle>
#include <memory>
#include <string>

namespace velmoran::testing {

struct WindowScene : ModelFixture {
    static constexpr const char* systemPath = "/System/Library/corespeechd";
    std::unique_ptr<AppDelegate> delegate;

    /// With nothing that moves, so that two pictures can be compared.
    struct StillStyle final : QProxyStyle {
        StillStyle() : QProxyStyle(QStringLiteral("Fusion")) {}
        int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                      QStyleHintReturn* data) const override {
            return hint == SH_Widget_Animation_Duration
                       ? 0
                       : QProxyStyle::styleHint(hint, option, widget, data);
        }
    };

    void SetUp() override {
        QApplication::setStyle(new StillStyle);
        settings.setBoolean("onboardingDone", true);
        settings.setBoolean("floatingStopButton", true);
        settings.setBoolean("monitorSpeakerUse", true);
        settings.setBoolean("standardNoticesStay", true);
        settings.setBoolean("ignoreSystemListening", false);
        machine.script.signingIDs[systemPath] = "com.apple.corespeechd";
        machine.script.browsers = {"org.example.Browser"};
        machine.script.connections[*appRef("Browser").path] = {
            {.address = "192.0.2.1", .port = 443, .transport = "TCP"},
            {.address = "2001:db8::7", .port = 3478, .transport = "UDP"}};
        fillHistory();
        delegate = std::make_unique<AppDelegate>(
            ModelSurroundings{machine, time, time, settings,
                              [this] {
                                  return store;
                              }},
            AppPicture([](const AppIdentity&) { return QIcon(); }), AppDelegate::Outside{});
        delegate->didFinishLaunching({.isUnasked = true});
        auto& model = delegate->model();
        for (const auto* name : {"Meet", "Another"}) {
            model.setTrusted(true, appNamed(name), {Device::camera, Device::microphone});
            model.setAlwaysWarn(true, appNamed(name), {Device::camera});
        }
        model.setTrusted(true, listener(), {Device::microphone});
        tell({});
        auto snapshot = camera({appRef("Browser")});
        snapshot.microphoneOn = true;
        snapshot.microphoneApps = {appRef("Browser"), appRef("Recorder")};
        snapshot.speakerOn = true;
        snapshot.speakerApps = {appRef("Music")};
        tell(snapshot);
        model.sampleConnections();
        time.advanceBy(30);
        settle();
    }

    void TearDown() override {
        delegate.reset();
        QApplication::setStyle(QStringLiteral("Fusion"));
        settle();
    }

    static AppIdentity listener() {
        auto app = appNamed("Listener");
        app.path = systemPath;
        return app;
    }

    void fillHistory() const {
        const auto keep = [this](const AppIdentity& app, Device device, Seconds ago) {
            auto use = sessionOf(app.name, device, time.now() - ago, time.now() - ago + 60);
            use.app = app;
            use.warningLevel = WarningLevel::standard;
            store->saveSession(use);
        };
        keep(appNamed("Meet"), Device::camera, 4000);
        keep(listener(), Device::microphone, 5000);
        keep(appNamed("Music"), Device::speaker, 6000);
        keep(appNamed("A name that is longer than any window would have any room to show it"),
             Device::camera, 90000);
        keep(appNamed("Meet"), Device::microphone, 200000);
    }

    void tell(const SystemSnapshot& snapshot) {
        delegate->model().receive(snapshot);
        settle();
    }

    void settle() {
        for (int round = 0; round < 3; ++round) {
            time.runPosted();
            QApplication::sendPostedEvents();
            QApplication::processEvents();
            QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
    }

    // MARK: - The windows

    QWidget& opened(std::string_view id) {
        settle();
        auto* window = delegate->screens().windows().window(id);
        if (!window || !window->isVisible()) {
            throw std::runtime_error("no window " + std::string(id));
        }
        return *window;
    }
    QWidget& open(std::string_view id) {
        delegate->screens().show(id);
        return opened(id);
    }
    QWidget& panel() {
        delegate->statusItem()->togglePanel();
        settle();
        return *delegate->statusItem()->panel();
    }
    /// Of the newest use by that app, with all that can be unfolded.
    QWidget& details(const std::string& app) {
        for (const auto& each : *delegate->model().historySessions) {
            if (each.app.name == app) {
                delegate->screens().showDetails(*delegate->model().rowContaining(each.id));
                break;
            }
        }
        auto& window = opened(WindowID::details);
        for (auto* each : window.findChildren<Disclosure*>()) {
            each->setOpen(true);
        }
        settle();
        return window;
    }
    QWidget& awayReport() {
        const auto at = midnight + 10 * hour;
        auto report = reportOf({eventAt(at + 60, AwayEventKind::mouseUsed),
                                eventAt(at + 90, AwayEventKind::devicePluggedIn, "Stick")},
                               {eventAt(at + 1795)});
        report.slept = true;
        delegate->screens().showAwayReport(report);
        return opened(WindowID::awayReport);
    }
    enum class Page { activity, chart, away };
    QWidget& history(Page page) {
        auto& window = open(WindowID::history);
        if (page == Page::chart) {
            press(window, "Show the chart");
            auto& plot =
                dynamic_cast<HistoryScreen&>(*window.findChild<QWidget*>("history")).chart().plot();
            plot.select(plot.content().days.size() - 2);
            settle();
        } else if (page == Page::away) {
            press(window, "Away watch");
        }
        return window;
    }
    /// With the parts of the system that it hides at first.
    QWidget& settingsWindow() {
        auto& window = open(WindowID::settings);
        press(window, "Show macOS system processes (1)");
        return window;
    }
    QWidget& introduction(int page) {
        auto& window = open(WindowID::onboarding);
        for (int at = 0; at < page; ++at) {
            press(window, "Continue");
        }
        return window;
    }
    QWidget& browserQuestion() {
        delegate->model().stopEverything();
        settle();
        return *delegate->browserDialog().window();
    }
    QWidget& cards() {
        delegate->statusItem()->noticePanel().takeKeyboard();
        settle();
        return const_cast<NoticePanel&>(delegate->statusItem()->noticePanel().panel());
    }
    QWidget& floatingButton() { return *delegate->floatingStop()->panel(); }

    /// The question that stands before a window.
    static QWidget& questionOf(const QWidget& window) {
        for (auto* each : window.findChildren<QDialog*>()) {
            if (each->isVisible()) {
                return *each;
            }
        }
        throw std::runtime_error("nothing is asked");
    }
    static QWidget& note() {
        auto* found = QApplication::activePopupWidget();
        if (!found) {
            throw std::runtime_error("there is no note");
        }
        return *found;
    }

    void press(const QWidget& in, const std::string& name) {
        for (auto* each : in.findChildren<QAbstractButton*>()) {
            if (each->isVisible() && each->window() == &in &&
                QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name) ==
                    QString::fromStdString(name)) {
                each->click();
                settle();
                return;
            }
        }
        throw std::runtime_error("no button " + name);
    }
};

} // namespace velmoran::testing
