#include "ctl/Ask.h"

#include "app/bus/BusLink.h"
#include "app/bus/BusNames.h"
#include "app/bus/StatusLines.h"
#include "app/qtbase/QtSettingsFile.h"
#include "app/qtbase/SystemWords.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "system/MakeMachine.h"

#include <QCoreApplication>
#include <chrono>
#include <cstdint>
#include <iostream>
#include <string_view>

namespace velmoran {

namespace {

constexpr std::uint64_t usualPatience = 25000000; ///< microseconds
/// A question to the user, too, may be waited for.
constexpr std::uint64_t endless = UINT64_MAX;

struct BusError {
    BusError() = default;
    BusError(const BusError&) = delete;
    BusError& operator=(const BusError&) = delete;
    ~BusError() { sd_bus_error_free(&value); }

    std::string_view name() const { return value.name ? value.name : ""; }
    std::string message() const { return value.message ? value.message : ""; }
    bool isAbsence() const {
        return name() == SD_BUS_ERROR_SERVICE_UNKNOWN || name() == SD_BUS_ERROR_NAME_HAS_NO_OWNER;
    }

    sd_bus_error value{};
};

int complain(const std::string& sentence, int status) {
    std::cerr << "velmoranctl: " << plainLine(sentence) << '\n';
    return status;
}

void speakTheUsersLanguage(int& argc, char** argv) {
    const QCoreApplication application(argc, argv);
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
}

/// A reply to come, or the exit status of its failure.
struct Call {
    BusHandle bus; ///< outlives the reply
    BusMessage reply;
    int status = AskEnd::done;
};

Call call(const char* method, const std::string* argument, std::uint64_t patience) {
    Call result;
    sd_bus* bus = nullptr;
    const auto address = sessionBusAddress();
    if (sd_bus_new(&bus) < 0) {
        result.status = complain("out of memory", AskEnd::notRunning);
        return result;
    }
    result.bus.reset(bus);
    sd_bus_message* made = nullptr;
    if (address.empty() || sd_bus_set_address(bus, address.c_str()) < 0 ||
        sd_bus_set_bus_client(bus, 1) < 0 || sd_bus_start(bus) < 0 ||
        sd_bus_message_new_method_call(bus, &made, bus::name, bus::path, bus::interface, method) <
            0) {
        result.status = complain(words().text("There is no session bus to reach Velmoran by."),
                                 AskEnd::notRunning);
        return result;
    }
    const BusMessage message(made);
    sd_bus_message_set_auto_start(made, 0);
    if (argument && sd_bus_message_append(made, "s", argument->c_str()) < 0) {
        result.status = complain("that is no name of an app", AskEnd::wrongRequest);
        return result;
    }
    BusError error;
    sd_bus_message* reply = nullptr;
    if (sd_bus_call(bus, made, patience, &error.value, &reply) >= 0) {
        result.reply.reset(reply);
    } else if (error.isAbsence()) {
        result.status = complain(words().text("Velmoran isn't running."), AskEnd::notRunning);
    } else if (error.name() == bus::notInUse || error.name() == bus::ambiguous ||
               error.name() == SD_BUS_ERROR_INVALID_ARGS) {
        result.status = complain(error.message(), AskEnd::wrongRequest);
    } else {
        result.status = complain(words().text("Velmoran didn't answer: %@", {error.message()}),
                                 AskEnd::notRunning);
    }
    return result;
}

/// Prints what has been done.
int tell(const Call& call) {
    if (!call.reply) {
        return call.status;
    }
    const char* outcome = nullptr;
    const char* headline = nullptr;
    const char* detail = nullptr;
    if (sd_bus_message_read(call.reply.get(), "sss", &outcome, &headline, &detail) < 0) {
        return complain(words().text("Velmoran didn't answer: %@", {"?"}), AskEnd::notRunning);
    }
    for (const auto* sentence : {headline, detail}) {
        if (*sentence != '\0') {
            std::cout << plainLine(sentence) << '\n';
        }
    }
    std::cout.flush();
    return outcome == std::string_view(bus::outcome::done) ? AskEnd::done : AskEnd::notEverything;
}

Timestamp present() {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return {sinceEpoch.count() - secondsFromUnixEpoch};
}

} // namespace

int askToStop(const std::string& app, int& argc, char** argv) {
    speakTheUsersLanguage(argc, argv);
    return tell(app.empty() ? call("StopEverything", nullptr, endless)
                            : call("Stop", &app, endless));
}

int askToUnmute(int& argc, char** argv) {
    speakTheUsersLanguage(argc, argv);
    return tell(call("UnmuteMicrophone", nullptr, usualPatience));
}

int askForStatus(bool json, int& argc, char** argv) {
    speakTheUsersLanguage(argc, argv);
    const auto answer = call("Status", nullptr, usualPatience);
    if (!answer.reply) {
        return answer.status;
    }
    const char* text = nullptr;
    try {
        if (sd_bus_message_read(answer.reply.get(), "s", &text) < 0) {
            throw DecodingError("no text");
        }
        const auto status = decode<ProgramStatus>(text);
        if (json) {
            std::cout << encode(status) << '\n';
        } else {
            for (const auto& line : statusLines(status, present())) {
                std::cout << plainLine(line) << '\n';
            }
        }
    } catch (const DecodingError& error) {
        return complain(words().text("Velmoran didn't answer: %@", {error.what()}),
                        AskEnd::notRunning);
    }
    std::cout.flush();
    return AskEnd::done;
}

} // namespace velmoran
