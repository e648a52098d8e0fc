// Services of a desktop that a test plays: logind and UPower on the session's system bus, a screen
// saver on its session bus. Each is a process of its own that ends with the session, or before, and
// does what the test has it do. The test's thread.
#pragma once

#include "support/PrivateSession.h"
#include "system/bus/BusHandles.h"

#include <string>
#include <variant>
#include <vector>

namespace velmoran::support {

class MockedServices {
public:
    enum class Where { system, session };
    using Value = std::variant<bool, std::string, int>;

    static constexpr const char* logind = "org.freedesktop.login1";
    static constexpr const char* manager = "/org/freedesktop/login1";
    static constexpr const char* upower = "org.freedesktop.UPower";
    static constexpr const char* power = "/org/freedesktop/UPower";

    /// Starts both buses.
    explicit MockedServices(PrivateSession& session);
    MockedServices(const MockedServices&) = delete;
    MockedServices& operator=(const MockedServices&) = delete;

    /// Each throws NotInstalled without python3-dbusmock.
    void startLogind(bool withLid = true);
    void startUPower();
    /// Can be asked, by the interface of its name, when it has that.
    void startSaver(const std::string& name, const std::string& path);
    void stop(const std::string& service);

    /// Of this process's user; its path.
    std::string addSession(const std::string& id, const std::string& type = "x11",
                           const std::string& display = "", const std::string& seat = "seat0");
    /// What the session's own methods "Lock", "Unlock" and "SetLockedHint" do in logind.
    void lock(const std::string& session);
    void unlock(const std::string& session);
    void hint(const std::string& session, bool locked);
    /// Has logind's manager answer that method with what is done in Python.
    void addMethod(const std::string& name, const std::string& takes, const std::string& gives,
                   const std::string& code);
    /// Has the object do that in Python so many times, in one go.
    void repeat(const std::string& path, const std::string& what, int times);
    void prepareForSleep(bool before);
    /// Without a word, as older ones do, and telling it.
    void setLid(bool closed);
    void announceLid(bool closed);
    /// How often logind was asked for it.
    int questionsForLid();
    void setOnBattery(bool onBattery);
    /// Says so, and answers so from now on.
    void setActive(const std::string& saver, const std::string& path, bool active);

    /// A signal with that one argument, from whoever has the name.
    void emit(Where where, const std::string& service, const std::string& path,
              const std::string& interface, const std::string& signal, const Value& argument);
    /// With or without telling it.
    void setProperty(const std::string& service, const std::string& path,
                     const std::string& interface, const std::string& name, const Value& value);
    void addProperty(const std::string& service, const std::string& path,
                     const std::string& interface, const std::string& name, const Value& value);
    /// Connects anew: to be called after a bus was started anew.
    void reconnect();
    sd_bus* bus(Where where) { return (where == Where::system ? systemBus_ : sessionBus_).get(); }

private:
    void start(const std::string& name, const std::vector<std::string>& arguments, Where where);
    void send(Where where, const BusMessage& call);
    BusMessage call(Where where, const std::string& service, const std::string& path,
                    const char* interface, const char* method);

    PrivateSession& session_;
    BusHandle systemBus_;
    BusHandle sessionBus_;
};

} // namespace velmoran::support
