// Draws every window over a made-up month into a folder, one process for each language and palette,
// as the words of some tables are chosen once.
// usage: window-pictures FOLDER light|dark en|de SCALE
#include "Month.h"
#include "PictureLook.h"
#include "app/controls/Groups.h"
#include "app/model/AppModel.h"
#include "app/model/MemorySettings.h"
#include "app/screens/AwayReportView.h"
#include "app/screens/BrowserDialog.h"
#include "app/screens/EventDetailsView.h"
#include "app/screens/HistoryScreen.h"
#include "app/screens/OnboardingView.h"
#include "app/screens/PanelView.h"
#include "app/screens/SettingsView.h"
#include "app/translations/Catalogues.h"
#include "core/text/Localizer.h"
#include "system/scripted/ScriptedMachine.h"
#include "system/scripted/ScriptedTime.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QMouseEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>

namespace {

using namespace velmoran;
using namespace velmoran::pictures;

constexpr Seconds listening = 20 * 60;
constexpr Seconds callLength = 12 * 60 + 8;
constexpr Seconds dictating = 3 * 60;

struct OpensAtLogin final : LoginItem {
    bool isOn() const override { return true; }
    bool set(bool on) override { return on; }
};

/// A running model with the month behind it, watching since before the call.
struct Stage {
    ScriptedTime time{moment - callLength - listening - 60};
    ScriptedMachine machine;
    MemorySettings settings;
    std::shared_ptr<HistoryStore> store = std::make_shared<HistoryStore>(std::nullopt);
    AppModel model;
    SystemSnapshot reading;

    Stage()
        : model({machine, time, time, settings, [this] {
                     return store;
                 }}) {
        machine.script.platform = Platform::linux;
        machine.script.connections[*app(call).path] = {{"2001:db8:64::8a", 443, "TCP"},
                                                       {"198.51.100.24", 443, "TCP"},
                                                       {"203.0.113.70", 3478, "UDP"}};
        for (const auto each : installed()) {
            machine.script.teamIDs[*app(each).path] = "system";
        }
        fill(*store);
        reading.output = OutputDeviceInfo{.objectID = 1,
                                          .name = "Headphones",
                                          .kind = OutputDeviceInfo::Kind::headphones,
                                          .volume = 0.45F,
                                          .isMuted = false};
        model.start();
        model.settings.monitorSpeakerUse.set(true);
        for (const auto* each : {"pigeon", "dictation", "memos", "tuner"}) {
            model.setTrusted(true, identity(each), {Device::microphone});
        }
        model.setAlwaysWarn(true, identity("ffmpeg"), {Device::camera});
        deliver();
        time.advanceBy(60);
    }

    void deliver() {
        model.receive(reading);
        time.runPosted();
    }
    /// Music, then a call, and dictation besides.
    void beginCall() {
        reading.speakerOn = true;
        reading.speakerApps = {app("music")};
        deliver();
        time.advanceBy(listening);
        reading.cameraOn = true;
        reading.cameraDevices = {"Integrated Camera"};
        reading.cameraApps = {app(call)};
        reading.microphoneOn = true;
        reading.microphoneApps = {app(call)};
        reading.speakerApps = {app("music"), app(call)};
        deliver();
        model.sampleConnections();
        time.advanceBy(callLength - dictating);
        reading.microphoneApps.push_back(app("dictation"));
        deliver();
        time.advanceBy(dictating);
    }

    ScreenContext context() {
        return {.model = model, .scheduler = time, .picture = drawnIcon, .actions = {}};
    }
};

class Camera {
public:
    Camera(QString folder, QString ending)
        : folder_(std::move(folder)),
          ending_(std::move(ending)) {}

    void take(QWidget& window, const char* name) const {
        settle();
        const auto file = folder_ + '/' + QLatin1String(name) + ending_;
        if (!window.grab().save(file)) {
            throw std::runtime_error("can't write " + file.toStdString());
        }
    }
    /// Also in the size that it wants, as its window would have it.
    void show(QWidget& window, const char* name) const {
        clickOn(window);
        window.show();
        settle();
        window.resize(window.sizeHint());
        take(window, name);
    }

private:
    /// A person with a mouse, to whom no focus is shown.
    static void clickOn(QWidget& window) {
        QMouseEvent press(QEvent::MouseButtonPress, {}, {}, Qt::LeftButton, Qt::LeftButton,
                          Qt::NoModifier);
        QApplication::sendEvent(&window, &press);
    }
    static void settle() {
        for (int round = 0; round < 3; ++round) {
            QApplication::sendPostedEvents();
            QApplication::processEvents();
        }
    }

    QString folder_;
    QString ending_;
};

template <class Part>
Part& part(const QWidget& of, const char* name) {
    auto* found = of.findChild<Part*>(QLatin1String(name));
    if (!found) {
        throw std::runtime_error(std::string("nothing is called ") + name);
    }
    return *found;
}

QDialog& questionOf(const QWidget& window) {
    for (auto* each : window.findChildren<QDialog*>()) {
        if (each->isVisible()) {
            return *each;
        }
    }
    throw std::runtime_error("nothing is asked");
}

void drawPanels(const Camera& camera) {
    {
        Stage stage;
        PanelView panel(stage.context());
        camera.show(panel, "panel-quiet");
    }
    Stage stage;
    stage.beginCall();
    PanelView panel(stage.context());
    camera.show(panel, "panel");
    stage.model.stopEverything();
    stage.time.advanceBy(1);
    stage.reading.cameraOn = stage.reading.microphoneOn = false;
    stage.reading.cameraApps = stage.reading.microphoneApps = {};
    stage.reading.cameraDevices = {};
    stage.reading.speakerApps = {app("music")};
    stage.deliver();
    stage.time.advanceBy(20);
    camera.show(panel, "panel-muted");
}

void drawDetails(const Camera& camera) {
    Stage stage;
    stage.beginCall();
    EventDetailsView details(stage.context(), stage.model.sessions(Device::camera).front().id);
    camera.show(details, "details-closed");
    for (auto* each : details.findChildren<Disclosure*>()) {
        each->setOpen(true);
    }
    camera.show(details, "details");
    part<QAbstractButton>(details, "trust").click();
    camera.take(questionOf(details), "trust-question");

    for (const auto& each : *stage.model.historySessions) {
        if (each.app.isUnknown()) {
            EventDetailsView unknown(stage.context(), each.id);
            camera.show(unknown, "details-unknown");
        }
        if (each.app.name == app("booking").name) {
            EventDetailsView longName(stage.context(), each.id);
            camera.show(longName, "details-long-name");
        }
    }
}

void drawHistory(const Camera& camera) {
    Stage stage;
    stage.beginCall();
    HistoryScreen history(stage.context());
    camera.show(history, "history");
    history.resize(920, 640);
    camera.take(history, "history-large");
    history.resize(history.sizeHint());

    part<QAbstractButton>(history, "chartButton").click();
    part<QWidget>(history, "span").findChildren<QAbstractButton*>().at(1)->click();
    auto& plot = history.chart().plot();
    camera.take(history, "chart-unselected");
    plot.select(plot.content().days.size() - 7);
    camera.take(history, "chart");
    part<QWidget>(history, "span").findChildren<QAbstractButton*>().at(0)->click();
    plot.select(plot.content().days.size() - 1);
    camera.take(history, "chart-week");
    part<QWidget>(history, "span").findChildren<QAbstractButton*>().at(2)->click();
    camera.take(history, "chart-quarter");
    part<QWidget>(history, "tabs").findChildren<QAbstractButton*>().at(1)->click();
    camera.take(history, "away");
    stage.model.deleteHistory();
    stage.reading = {};
    stage.deliver();
    stage.model.deleteHistory();
    stage.time.runPosted();
    camera.take(history, "away-empty");
    part<QWidget>(history, "tabs").findChildren<QAbstractButton*>().at(0)->click();
    camera.take(history, "chart-empty");
    part<QAbstractButton>(history, "chartButton").click();
    camera.take(history, "history-empty");
}

void drawAwayReports(const Camera& camera) {
    const auto nothing = [] {
    };
    const auto all = reports();
    AwayReportView report(all.front(), nothing, nothing);
    camera.show(report, "away-report");
    auto many = all.front();
    for (int times = 0; times < 4; ++times) {
        many.events.insert(many.events.end(), all.front().events.begin(), all.front().events.end());
    }
    AwayReportView longReport(many, nothing, nothing);
    camera.show(longReport, "away-report-long");
    auto quiet = all.front();
    quiet.events.clear();
    AwayReportView empty(quiet, nothing, nothing);
    camera.show(empty, "away-report-empty");
}

void drawSettings(const Camera& camera) {
    Stage stage;
    OpensAtLogin login;
    SettingsView settings(stage.context(), login);
    camera.show(settings, "settings");
    auto* bar = settings.findChild<QScrollArea*>()->verticalScrollBar();
    int page = 1;
    for (int place = bar->pageStep() - 20; bar->value() < bar->maximum();
         place += bar->pageStep() - 20) {
        bar->setValue(place);
        camera.take(settings, ("settings-" + std::to_string(++page)).c_str());
    }
}

void drawIntroduction(const Camera& camera) {
    Stage stage;
    OpensAtLogin login;
    bool isDone = false;
    OnboardingView introduction(stage.context(), login, [&isDone] { isDone = true; });
    for (int page = 1; !isDone && page < 10; ++page) {
        camera.show(introduction, ("introduction-" + std::to_string(page)).c_str());
        QAbstractButton* next = nullptr;
        for (auto* each : introduction.findChildren<QAbstractButton*>()) {
            next = each->isVisible() && !each->isCheckable() ? each : next; // the last one made
        }
        if (!next) {
            throw std::runtime_error("the introduction can't go on");
        }
        next->click();
    }
}

void drawBrowserQuestion(const Camera& camera) {
    BrowserDialog dialog;
    const auto shown = dialog.ask(
        {.browsers = {std::string(app("wayfarer").name)}, .keepOffered = true}, [](auto) {});
    camera.take(*dialog.window(), "browser-question");
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs("usage: window-pictures FOLDER light|dark en|de SCALE\n", stderr);
        return 2;
    }
    const QString colours = QString::fromLocal8Bit(argv[2]);
    const std::string language = argv[3];
    qputenv("QT_SCALE_FACTOR", argv[4]);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication program(argc, argv);
    try {
        setWords(Localizer(language == "de" ? "de_DE" : "en_US", "Europe/Berlin",
                           catalogues(language, Platform::linux)));
        QApplication::setApplicationVersion(QStringLiteral(VELMORAN_VERSION));
        dress(colours == QLatin1String("dark"));
        const Camera camera(QString::fromLocal8Bit(argv[1]), '-' + colours + '-' +
                                                                 QString::fromStdString(language) +
                                                                 QStringLiteral(".png"));
        drawPanels(camera);
        drawDetails(camera);
        drawHistory(camera);
        drawAwayReports(camera);
        drawSettings(camera);
        drawIntroduction(camera);
        drawBrowserQuestion(camera);
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "window-pictures: %s\n", problem.what());
        return 1;
    }
    return 0;
}
