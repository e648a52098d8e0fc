#include "ctl/Asking.h"

#include "app/bus/BusNames.h"
#include "app/qtbase/QtSettingsFile.h"
#include "app/qtbase/SystemWords.h"
#include "core/text/Localizer.h"
#include "core/text/PlainLine.h"
#include "ctl/VelmoranOnBus.h"
#include "system/MakeMachine.h"

#include <QCoreApplication>
#include <chrono>
#include <csignal>
#include <iostream>
#include <string_view>

namespace velmoran::asking {

namespace {

/// For the bus to let us in, and again to say who is Velmoran.
constexpr Seconds entryPatience = 5.0;
/// For Velmoran, or for a sign of its life where the answer may take as long as the user thinks.
constexpr Seconds answerPatience = 25.0;

} // namespace

int complain(const std::string& sentence, int status) {
    std::cerr << "velmoranctl: " << plainLine(sentence) << '\n';
    return status;
}

void prepare(const AskOptions& options) {
    std::signal(SIGPIPE, SIG_IGN); // a reader that has gone is noticed when writing
    const QCoreApplication application(options.argc, options.argv);
    QtSettingsFile settings;
    setSystemWords(settings, thisPlatform());
    followSystemZone();
}

namespace {

std::string nameOf(const PeerProgram& program) {
    return words().text("%@ (process %@)",
                        {program.path.value_or(words().text("A program that can't be looked at")),
                         std::to_string(program.pid)});
}

Call absent(const std::string& sentence, Absence absence) {
    return {nullptr,
            absence == Absence::isSaid ? complain(sentence, AskEnd::notRunning)
                                       : int{AskEnd::notRunning},
            true};
}

Call failed(const BusAnswer& answer, Absence absence) {
    if (answer.isAbsence()) {
        return absent(words().text("Velmoran isn't running."), absence);
    }
    if (answer.error == bus::notInUse || answer.error == bus::ambiguous ||
        answer.error == bus::notTrusted || answer.error == SD_BUS_ERROR_INVALID_ARGS) {
        return {nullptr, complain(answer.message, AskEnd::wrongRequest)};
    }
    return {nullptr, complain(words().text("Velmoran didn't answer: %@", {answer.message}),
                              AskEnd::notRunning)};
}

} // namespace

Call call(const AskOptions& options, const char* method, const std::vector<std::string>& arguments,
          Wait wait, Absence absence) {
    auto entry = enterBus(sessionBusAddress(), entryPatience);
    const auto silence = [] {
        return Call{nullptr,
                    complain(words().text("The session bus doesn't answer."), AskEnd::notRunning)};
    };
    if (entry.outcome == BusEntry::Outcome::silent) {
        return silence();
    }
    if (entry.outcome == BusEntry::Outcome::absent) {
        return absent(words().text("There is no session bus to reach Velmoran by."), absence);
    }
    const BusCaller bus(std::move(entry.bus));
    const auto velmoran = findVelmoran(
        bus, {.busPatience = entryPatience,
              .patience = answerPatience,
              .isVelmoran = [&](const PeerProgram& program) {
                  return isVelmoran(program) || (program.path && *program.path == options.velmoran);
              }});
    if (velmoran.stranger) {
        complain(words().text("%@ answers in Velmoran's name and isn't Velmoran.",
                              {nameOf(*velmoran.stranger)}),
                 AskEnd::notRunning);
    }
    if (!velmoran.connection && velmoran.isSilent) {
        return failed({nullptr, SD_BUS_ERROR_NO_REPLY, "no answer"}, absence);
    }
    if (!velmoran.connection) {
        return velmoran.busAnswered ? absent(words().text("Velmoran isn't running."), absence)
                                    : silence();
    }
    const auto question = bus.makeCall(*velmoran.connection, bus::path, bus::interface, method);
    for (const auto& argument : arguments) {
        if (sd_bus_message_append(question.get(), "s", argument.c_str()) < 0) {
            return {nullptr, complain("that is no text to ask about", AskEnd::wrongRequest)};
        }
    }
    auto answer = wait == Wait::bounded ? bus.ask(question, answerPatience)
                                        : bus.askWhileAlive(question, answerPatience);
    return answer.reply ? Call{std::move(answer.reply)} : failed(answer, absence);
}

int complainOfAnswer(const std::string& why) {
    return complain(words().text("Velmoran didn't answer: %@", {why}), AskEnd::notRunning);
}

int finish(const Output& output, int status) {
    return !output.wroteAll() && status == AskEnd::done ? AskEnd::unsaid : status;
}

int tell(const Call& call) {
    if (!call.reply) {
        return call.status;
    }
    const char* outcome = nullptr;
    const char* headline = nullptr;
    const char* detail = nullptr;
    if (sd_bus_message_read(call.reply.get(), "sss", &outcome, &headline, &detail) < 0) {
        return complainOfAnswer("?");
    }
    Output output;
    for (const auto* sentence : {headline, detail}) {
        if (*sentence != '\0') {
            output.write(plainLine(sentence));
        }
    }
    return finish(output, outcome == std::string_view(bus::outcome::done) ? AskEnd::done
                                                                          : AskEnd::notEverything);
}

Timestamp present() {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return {sinceEpoch.count() - secondsFromUnixEpoch};
}

} // namespace velmoran::asking
