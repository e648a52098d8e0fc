// The real service on a bus daemon of the test's own that lets everybody connect, over a scripted
// machine. The clients are other programs, and a thread.
#pragma once

#include "app/bus/BusNames.h"
#include "app/bus/BusService.h"
#include "app/model/MemorySettings.h"
#include "app/qtbase/QtEventLoop.h"
#include "support/ChildProcess.h"
#include "support/TemporaryDirectory.h"
#include "system/scripted/ScriptedMachine.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace velmoran::testing {

/// A client's own connection, for one thread.
class BusClient {
public:
    explicit BusClient(const std::string& address) {
        sd_bus* bus = nullptr;
        if (sd_bus_new(&bus) < 0 || sd_bus_set_address(bus, address.c_str()) < 0 ||
            sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0) {
            throw std::runtime_error("no bus at " + address);
        }
        bus_.reset(bus);
    }

    sd_bus* bus() const { return bus_.get(); }

    /// Sends and doesn't look for an answer; false if the bus takes no more.
    bool send(const std::string& method, const std::optional<std::string>& argument = {}) const {
        sd_bus_message* made = nullptr;
        sd_bus_message_new_method_call(bus_.get(), &made, bus::name, bus::path, bus::interface,
                                       method.c_str());
        const BusMessage message(made);
        if (argument) {
            sd_bus_message_append(made, "s", argument->c_str());
        }
        return sd_bus_send(bus_.get(), made, nullptr) >= 0 && sd_bus_flush(bus_.get()) >= 0;
    }

    /// The strings of the reply, or the name of the error.
    std::vector<std::string> call(const std::string& method,
                                  const std::optional<std::string>& argument = {}) const {
        sd_bus_message* made = nullptr;
        sd_bus_message_new_method_call(bus_.get(), &made, bus::name, bus::path, bus::interface,
                                       method.c_str());
        const BusMessage message(made);
        if (argument) {
            sd_bus_message_append(made, "s", argument->c_str());
        }
        sd_bus_error error{};
        sd_bus_message* answered = nullptr;
        std::vector<std::string> result;
        if (sd_bus_call(bus_.get(), made, 20000000, &error, &answered) < 0) {
            result.emplace_back(error.name ? error.name : "no answer");
        }
        const BusMessage reply(answered);
        const char* text = nullptr;
        while (answered && sd_bus_message_read(answered, "s", &text) > 0) {
            result.emplace_back(text);
        }
        sd_bus_error_free(&error);
        return result;
    }

private:
    BusHandle bus_;
};

class BusFixture : public ::testing::Test {
protected:
    using Steady = std::chrono::steady_clock;

    BusFixture() {
        // A folder that another user may look into.
        std::filesystem::permissions(folder_.path(), std::filesystem::perms(0755));
        folder_.write("bus.conf", R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" + address() + R"(</listen>
  <auth>EXTERNAL</auth>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">1000000000</limit>
  <limit name="max_completed_connections">100000</limit>
  <limit name="max_connections_per_user">100000</limit>
  <limit name="max_replies_per_connection">50000</limit>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)");
        startBus();
    }

    std::string address() const { return "unix:path=" + folder_.path("bus"); }

    void startBus() {
        for (const auto* left : {"bus", "bus.out"}) {
            std::filesystem::remove(folder_.path(left));
        }
        bus_ = std::make_unique<support::ChildProcess>(
            std::vector<std::string>{"dbus-daemon", "--config-file=" + folder_.path("bus.conf"),
                                     "--nofork", "--print-address"},
            options("bus"));
        ASSERT_TRUE(support::waitUntil([&] { return !bus_->output().empty(); })) << bus_->errors();
    }

    support::ChildProcess::Options options(const std::string& name) const {
        support::ChildProcess::Options options;
        options.environment = {{"DBUS_SESSION_BUS_ADDRESS", address()},
                               {"HOME", folder_.path()},
                               {"XDG_RUNTIME_DIR", folder_.path()},
                               {"PATH", std::getenv("PATH")},
                               {"LC_ALL", "C.UTF-8"},
                               {"TZ", "UTC"}};
        for (const auto* key : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"}) {
            if (const auto* value = std::getenv(key)) {
                options.environment[key] = value;
            }
        }
        options.output = folder_.path(name + ".out");
        options.errors = folder_.path(name + ".err");
        return options;
    }

    /// The program with the bus; what is on can be told to it at once.
    void launch() {
        startModel();
        offer();
    }

    void startModel() {
        model = std::make_unique<AppModel>(
            ModelSurroundings{machine, loop, loop, settings,
                              [] { return std::make_shared<HistoryStore>(std::nullopt); },
                              [this](const BrowserQuestion& question, auto answer) {
                                  ++questions;
                                  EXPECT_FALSE(question.browsers.empty());
                                  answerQuestion = answer;
                                  return ShownQuestion{.raise = [this] { ++raises; }, .shown = {}};
                              }});
        // Who is closed uses nothing any more.
        ends_ = model->onAppClosed.subscribe([this](const AppIdentity& closed, bool gone) {
            auto left = *model->snapshot;
            for (auto* apps : {&left.cameraApps, &left.microphoneApps}) {
                std::erase_if(*apps, [&](const AppRef& app) { return app.id() == closed.id; });
            }
            if (gone) {
                model->receive(reading(left.cameraApps, left.microphoneApps));
            }
        });
        model->start();
        model->receive({});
    }

    /// Offers the service, and waits until it can be found.
    void offer() {
        offer(serviceOptions());
        ASSERT_TRUE(isOffered());
    }
    void offer(BusService::Options options) {
        service = std::make_unique<BusService>(*model, loop, std::move(options));
    }
    /// With a search that only the socket's coming can bring to an end in time.
    BusService::Options serviceOptions() const {
        BusService::Options options;
        options.address = address();
        options.searchInterval = 1000.0;
        return options;
    }

    /// Whether a program has the name, and this one's service answers.
    bool isOffered() {
        return runUntil([&] { return isOwned(); });
    }

    bool isOwned() const { return bus_->running() && isOwned(BusClient(address())); }
    static bool isOwned(const BusClient& client) {
        sd_bus_message* answered = nullptr;
        int owned = 0;
        const bool said =
            sd_bus_call_method(client.bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "NameHasOwner", nullptr, &answered, "s",
                               bus::name) >= 0;
        const BusMessage reply(answered);
        return said && sd_bus_message_read(answered, "b", &owned) >= 0 && owned != 0;
    }

    /// Runs the program's loop until `done`; false if that doesn't come.
    bool runUntil(const std::function<bool()>& done) {
        const auto end = Steady::now() + support::patience;
        const auto tick = loop.every(0.005, [] {});
        while (!done() && Steady::now() < end) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return done();
    }

    support::ChildProcess start(const std::vector<std::string>& arguments) {
        return {arguments, options("client" + std::to_string(++clients_))};
    }
    /// Its exit status once it has ended; the program's loop runs meanwhile.
    int finish(support::ChildProcess& client) {
        EXPECT_TRUE(runUntil([&] { return !client.running(); })) << client.title();
        return client.wait().value_or(-1);
    }
    /// velmoranctl, for which this test's own program is Velmoran.
    support::ChildProcess startCtl(std::vector<std::string> arguments) {
        const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
        arguments.insert(arguments.begin(), {VELMORANCTL, "--velmoran", self});
        return start(arguments);
    }
    /// Runs it to its end.
    support::ChildProcess ctl(const std::vector<std::string>& arguments, int status) {
        auto client = startCtl(arguments);
        EXPECT_EQ(finish(client), status) << client.title() << client.output() << client.errors();
        return client;
    }

    static SystemSnapshot reading(const std::vector<AppRef>& camera,
                                  const std::vector<AppRef>& microphone = {}) {
        SystemSnapshot snapshot;
        snapshot.cameraOn = !camera.empty();
        snapshot.cameraApps = camera;
        snapshot.microphoneOn = !microphone.empty();
        snapshot.microphoneApps = microphone;
        return snapshot;
    }
    static AppRef app(const std::string& name) {
        return {.name = name, .bundleID = "org.example." + name, .path = "/opt/" + name};
    }

    TemporaryDirectory folder_;
    std::unique_ptr<support::ChildProcess> bus_;

private:
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
    int clients_ = 0;

protected:
    QtEventLoop loop;
    MemorySettings settings;
    ScriptedMachine machine;
    int questions = 0;
    int raises = 0; ///< of a question
    std::function<void(BrowserAnswer)> answerQuestion;
    std::unique_ptr<AppModel> model;
    Subscription ends_;
    std::unique_ptr<BusService> service;
};

} // namespace velmoran::testing
