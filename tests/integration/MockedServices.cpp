#include "integration/MockedServices.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <unistd.h>

namespace velmoran::support {

namespace {

constexpr const char* mock = "org.freedesktop.DBus.Mock";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

BusHandle connectedTo(const std::string& address) {
    sd_bus* made = nullptr;
    if (sd_bus_new(&made) < 0) {
        throw std::runtime_error("no bus");
    }
    BusHandle bus(made);
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_start(made) < 0) {
        throw std::runtime_error("no bus at " + address);
    }
    return bus;
}

void append(sd_bus_message* message, const MockedServices::Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        sd_bus_message_append(message, "v", "s", text->c_str());
    } else if (const auto* number = std::get_if<int>(&value)) {
        sd_bus_message_append(message, "v", "i", *number);
    } else {
        sd_bus_message_append(message, "v", "b", static_cast<int>(std::get<bool>(value)));
    }
}

const char* signatureOf(const MockedServices::Value& value) {
    return std::holds_alternative<std::string>(value) ? "s"
           : std::holds_alternative<int>(value)       ? "i"
                                                      : "b";
}

} // namespace

MockedServices::MockedServices(PrivateSession& session) : session_(session) {
    session_.startBus();
    session_.startSystemBus();
    reconnect();
}

void MockedServices::reconnect() {
    systemBus_ = connectedTo(session_.environment().at("DBUS_SYSTEM_BUS_ADDRESS"));
    sessionBus_ = connectedTo(session_.environment().at("DBUS_SESSION_BUS_ADDRESS"));
}

// MARK: - Which are there

void MockedServices::start(const std::string& name, const std::vector<std::string>& arguments,
                           Where where) {
    auto& child = session_.start(name, arguments);
    const bool came = waitUntil([&] {
        return !child.running() || sd_bus_get_name_creds(bus(where), name.c_str(), 0, nullptr) >= 0;
    });
    if (child.errors().find("No module named") != std::string::npos) {
        throw NotInstalled("python3-dbusmock isn't installed");
    }
    if (!came || !child.running()) {
        throw std::runtime_error(name + " didn't come up\n" + session_.logs());
    }
}

void MockedServices::startLogind(bool withLid) {
    start(logind, {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "logind"},
          Where::system);
    if (withLid) {
        addProperty(logind, manager, managerInterface, "LidClosed", false);
        addMethod("SetLid", "b", "", "self.props[self.interface]['LidClosed'] = args[0]");
    }
}

void MockedServices::startUPower() {
    start(upower, {"/usr/bin/python3", "-m", "dbusmock", "--system", "--template", "upower"},
          Where::system);
}

void MockedServices::startSaver(const std::string& name, const std::string& path) {
    start(name, {"/usr/bin/python3", FAKE_SAVER, name, path}, Where::session);
}

void MockedServices::stop(const std::string& service) {
    session_.stop(service);
    // Until the bus has seen it go, whoever comes next would seem to be there already.
    const bool isGone = waitUntil([&] {
        return std::ranges::all_of(std::array{Where::system, Where::session}, [&](auto where) {
            return sd_bus_get_name_creds(bus(where), service.c_str(), 0, nullptr) < 0;
        });
    });
    if (!isGone) {
        throw std::runtime_error(service + " is still on the bus\n" + session_.logs());
    }
}

// MARK: - What they do

std::string MockedServices::addSession(const std::string& id, const std::string& type,
                                       const std::string& display, const std::string& seat) {
    const auto message = call(Where::system, logind, manager, mock, "AddSession");
    sd_bus_message_append(message.get(), "ssusb", id.c_str(), seat.c_str(),
                          static_cast<unsigned>(::getuid()), "somebody", 1);
    send(Where::system, message);
    auto path = std::string(manager) + "/session/" + id;
    setProperty(logind, path, sessionInterface, "Type", type);
    setProperty(logind, path, sessionInterface, "Display", display);
    const auto told = call(Where::system, logind, manager, mock, "EmitSignal");
    sd_bus_message_append(told.get(), "sssav", managerInterface, "SessionNew", "so", 2, "s",
                          id.c_str(), "o", path.c_str());
    send(Where::system, told);
    return path;
}

void MockedServices::lock(const std::string& session) {
    send(Where::system, call(Where::system, logind, session, sessionInterface, "Lock"));
}

void MockedServices::unlock(const std::string& session) {
    send(Where::system, call(Where::system, logind, session, sessionInterface, "Unlock"));
}

void MockedServices::hint(const std::string& session, bool locked) {
    setProperty(logind, session, sessionInterface, "LockedHint", locked);
}

void MockedServices::addMethod(const std::string& name, const std::string& takes,
                               const std::string& gives, const std::string& code) {
    const auto method = call(Where::system, logind, manager, mock, "AddMethod");
    sd_bus_message_append(method.get(), "sssss", managerInterface, name.c_str(), takes.c_str(),
                          gives.c_str(), code.c_str());
    send(Where::system, method);
}

void MockedServices::repeat(const std::string& path, const std::string& what, int times) {
    const auto method = call(Where::system, logind, path, mock, "AddMethod");
    const auto code = "for _ in range(" + std::to_string(times) + "):\n    " + what;
    sd_bus_message_append(method.get(), "sssss", sessionInterface, "Repeat", "", "", code.c_str());
    send(Where::system, method);
    send(Where::system, call(Where::system, logind, path, sessionInterface, "Repeat"));
}

void MockedServices::prepareForSleep(bool before) {
    emit(Where::system, logind, manager, managerInterface, "PrepareForSleep", before);
}

void MockedServices::setLid(bool closed) {
    const auto message = call(Where::system, logind, manager, managerInterface, "SetLid");
    sd_bus_message_append(message.get(), "b", static_cast<int>(closed));
    send(Where::system, message);
}

void MockedServices::announceLid(bool closed) {
    setProperty(logind, manager, managerInterface, "LidClosed", closed);
}

int MockedServices::questionsForLid() {
    std::istringstream log(session_.child(logind)->output());
    int questions = 0;
    for (std::string line; std::getline(log, line);) {
        questions += line.find(" Get ") != std::string::npos && line.ends_with(".LidClosed");
    }
    return questions;
}

void MockedServices::setOnBattery(bool onBattery) {
    setProperty(upower, power, upower, "OnBattery", onBattery);
}

void MockedServices::setActive(const std::string& saver, const std::string& path, bool active) {
    const auto message = call(Where::session, saver, path, saver.c_str(), "SetActive");
    sd_bus_message_append(message.get(), "b", static_cast<int>(active));
    send(Where::session, message);
}

void MockedServices::emit(Where where, const std::string& service, const std::string& path,
                          const std::string& interface, const std::string& signal,
                          const Value& argument) {
    const auto message = call(where, service, path, mock, "EmitSignal");
    sd_bus_message_append(message.get(), "sss", interface.c_str(), signal.c_str(),
                          signatureOf(argument));
    sd_bus_message_open_container(message.get(), 'a', "v");
    append(message.get(), argument);
    sd_bus_message_close_container(message.get());
    send(where, message);
}

void MockedServices::setProperty(const std::string& service, const std::string& path,
                                 const std::string& interface, const std::string& name,
                                 const Value& value) {
    const auto message = call(Where::system, service, path, mock, "UpdateProperties");
    sd_bus_message_append(message.get(), "s", interface.c_str());
    sd_bus_message_open_container(message.get(), 'a', "{sv}");
    sd_bus_message_open_container(message.get(), 'e', "sv");
    sd_bus_message_append(message.get(), "s", name.c_str());
    append(message.get(), value);
    sd_bus_message_close_container(message.get());
    sd_bus_message_close_container(message.get());
    send(Where::system, message);
}

void MockedServices::addProperty(const std::string& service, const std::string& path,
                                 const std::string& interface, const std::string& name,
                                 const Value& value) {
    const auto message = call(Where::system, service, path, mock, "AddProperty");
    sd_bus_message_append(message.get(), "ss", interface.c_str(), name.c_str());
    append(message.get(), value);
    send(Where::system, message);
}

BusMessage MockedServices::call(Where where, const std::string& service, const std::string& path,
                                const char* interface, const char* method) {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus(where), &made, service.c_str(), path.c_str(), interface,
                                   method);
    return BusMessage(made);
}

void MockedServices::send(Where where, const BusMessage& call) {
    sd_bus_error error{};
    sd_bus_message* answered = nullptr;
    const int result = sd_bus_call(bus(where), call.get(), 20000000, &error, &answered);
    const BusMessage answer(answered);
    const std::string why = error.message == nullptr ? "no answer" : error.message;
    sd_bus_error_free(&error);
    if (result < 0) {
        throw std::runtime_error(why + "\n" + session_.logs());
    }
}

} // namespace velmoran::support
